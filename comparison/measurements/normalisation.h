/**
 * @file normalisation.h
 * What the percentages of a comparison refer to.
 */
#ifndef ZARNGI_COMPARISON_MEASUREMENTS_NORMALISATION_H
#define ZARNGI_COMPARISON_MEASUREMENTS_NORMALISATION_H

#include <optional>
#include <vector>

#include "comparison/doseExtremes.h"
#include "comparison/measurements/placement.h"
#include "comparison/request/member.h"

namespace zarngi
{

/** What was asked for; nothing: the largest dose of the reference. */
struct NormalisationRequest {
    std::optional<double> dose; ///< Gy
    bool isEvaluation = false;  ///< the largest dose of the evaluation
    std::vector<double> at;     ///< mm, x, y[, z]: the dose of the reference there

    bool isGiven() const { return dose || isEvaluation || !at.empty(); }
};

/** Reads "-3.5,10" or "1,2,3" (mm). @throws UsageError at the place */
std::vector<double> parsePosition(const MemberPlace& place, const std::string& text);

/**
 * The dose that was asked for, if any was. At a position, the dose of a grid is trilinear; where
 * places have no dose between them, it is that of the nearest place within 1 mm.
 * @throws InputError when there is no dose above 0; UsageError for a position of two dimensions in
 * space, or of three in a plane.
 */
std::optional<double> normalisationDose(const NormalisationRequest& request,
                                        const DoseImage& reference, const DoseExtremes& evaluation,
                                        SearchSpace space);

} // namespace zarngi

#endif
