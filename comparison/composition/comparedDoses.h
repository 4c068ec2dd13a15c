/**
 * @file comparedDoses.h
 * From the doses of files to those that are compared: summed, scaled, checked, put at their place.
 */
#ifndef ZARNGI_COMPARISON_COMPOSITION_COMPAREDDOSES_H
#define ZARNGI_COMPARISON_COMPOSITION_COMPAREDDOSES_H

#include <optional>
#include <vector>

#include "comparison/comparison.h"
#include "comparison/doseSource.h"

namespace zarngi
{

/**
 * Reads, adds and scales both doses and puts them where they are compared.
 * @param warnings gets those of the files and of the pair.
 * @throws InputError, UsageError
 */
GivenDoses givenDoses(const Request& request, DoseSource& source, std::vector<Sentence>& warnings);

/** With what their percentages refer to. @throws InputError, UsageError */
ComparedDoses comparedDoses(GivenDoses doses, const NormalisationRequest& request);

/**
 * The settings of the search. A part of the reference, or a point, is judged as within the whole:
 * there the percentages refer to the dose that they have for the whole.
 */
GammaSettings searchSettings(const Request& request, const ComparedDoses& doses);

} // namespace zarngi

#endif
