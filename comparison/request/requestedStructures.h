/**
 * @file requestedStructures.h
 * The structures of a comparison: joined, chosen, filled.
 */
#ifndef ZARNGI_COMPARISON_REQUEST_REQUESTEDSTRUCTURES_H
#define ZARNGI_COMPARISON_REQUEST_REQUESTEDSTRUCTURES_H

#include <memory>
#include <string>
#include <vector>

#include "comparison/request/comparisonRequest.h"

namespace zarngi
{

/** That structures have something to lie in, before they are read. @throws UsageError */
void checkAreVolumes(const Comparison& comparison);

/**
 * The structures of all files that were asked for; the sets' warnings become those of the
 * comparison, which has its doses.
 * @throws InputError where their positions are not those of the doses
 */
std::shared_ptr<const StructureCatalogue> catalogueOf(std::vector<files::StructureSet> sets,
                                                      const StructureOptions& options,
                                                      Comparison& comparison);

/** Fills comparison.structures and comparison.within. @throws InputError, UsageError */
void addStructures(Comparison& comparison, std::shared_ptr<const StructureCatalogue> catalogue,
                   const ComparisonRequest& request);

/** Which rows the patterns of a criterion mean; all, where there is none. @throws UsageError */
std::vector<bool> rowsOf(const std::vector<std::string>& patterns,
                         const StructureComparison& structures);

} // namespace zarngi

#endif
