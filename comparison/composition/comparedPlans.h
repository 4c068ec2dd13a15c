/**
 * @file comparedPlans.h
 * The plans of a comparison, and whether they are those of its doses.
 */
#ifndef ZARNGI_COMPARISON_COMPOSITION_COMPAREDPLANS_H
#define ZARNGI_COMPARISON_COMPOSITION_COMPAREDPLANS_H

#include <vector>

#include "comparison/comparison.h"
#include "comparison/doseSource.h"

namespace zarngi
{

/**
 * Reads the plans that are asked for; where none is, and outputs tell of patient and plan, those
 * that the doses refer to, if they lie beside them.
 * @param warnings gets those of the files, and which plan is not that of the doses.
 * @throws InputError for a file that is no plan, or a damaged one
 */
std::vector<ComparedPlan> comparedPlans(const Request& request, DoseSource& source,
                                        const std::vector<const DoseImage*>& doses,
                                        std::vector<Sentence>& warnings);

} // namespace zarngi

#endif
