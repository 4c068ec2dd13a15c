/**
 * @file measurementRequest.h
 * What is asked for about planes, points, and doses that are put together.
 */
#ifndef ZARNGI_COMPARISON_REQUEST_MEASUREMENTREQUEST_H
#define ZARNGI_COMPARISON_REQUEST_MEASUREMENTREQUEST_H

#include <string>
#include <vector>

#include "comparison/measurements/doseSum.h"
#include "comparison/measurements/normalisation.h"
#include "files/readDose.h"

namespace zarngi
{

/** As given; an empty text: not given. */
struct MeasurementOptions {
    std::string norm;   ///< Gy, or "evaluation"
    std::string normAt; ///< mm
    std::string plane;
    std::string at;
    std::string referenceScale;
    std::string evaluationScale;
    std::vector<std::string> referenceAdded;
    std::vector<std::string> evaluationAdded;
    std::string doseUnit;
    std::string lengthUnit;
    bool allowErrorDoses = false;

    NormalisationRequest normalisation() const; ///< @throws UsageError
    PlaneRequest placement() const;             ///< @throws UsageError
    files::TableUnits units() const;
};

/** What makes no sense, whatever the files hold. @throws UsageError */
void checkMeasurementOptions(const MeasurementOptions& options);

} // namespace zarngi

#endif
