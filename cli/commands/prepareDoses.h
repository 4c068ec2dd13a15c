/**
 * @file prepareDoses.h
 * From the doses of files to those that are compared: summed, scaled, put at their place.
 */
#ifndef ZARNGI_CLI_COMMANDS_PREPAREDOSES_H
#define ZARNGI_CLI_COMMANDS_PREPAREDOSES_H

#include <functional>

#include "cli/commands/measurementOptions.h"
#include "comparison/comparison.h"

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
