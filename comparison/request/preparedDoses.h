/**
 * @file preparedDoses.h
 * From the doses of files to those that are compared: summed, scaled, put at their place.
 */
#ifndef ZARNGI_COMPARISON_REQUEST_PREPAREDDOSES_H
#define ZARNGI_COMPARISON_REQUEST_PREPAREDDOSES_H

#include <functional>

#include "comparison/comparison.h"
#include "comparison/request/measurementRequest.h"

namespace zarngi
{

using ReadDose = std::function<DoseImage(const std::string& path)>;

/** Adds and scales. @throws InputError */
void makeDoses(Comparison& comparison, const MeasurementOptions& options, const ReadDose& read);

/** Puts the doses where they are compared, and warns. @throws InputError, UsageError */
void placeDoses(Comparison& comparison, const MeasurementOptions& options);

/** Sets what the percentages refer to, from the extremes. @throws InputError, UsageError */
void setNormalisation(Comparison& comparison);

} // namespace zarngi

#endif
