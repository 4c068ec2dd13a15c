/**
 * @file chosenStructures.h
 * The structures of a comparison: joined, chosen, filled.
 */
#ifndef ZARNGI_COMPARISON_COMPOSITION_CHOSENSTRUCTURES_H
#define ZARNGI_COMPARISON_COMPOSITION_CHOSENSTRUCTURES_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "comparison/comparison.h"
#include "comparison/composition/comparedDoses.h"
#include "comparison/doseSource.h"

namespace zarngi
{

/**
 * The structures of all files that are asked for; null where none are.
 * @param warnings gets those of the files.
 * @throws UsageError where the doses are no volumes, InputError where the positions are not those
 * of the doses
 */
std::shared_ptr<const StructureCatalogue> catalogueOf(const StructureRequest& request,
                                                      DoseSource& source, const GivenDoses& doses,
                                                      std::vector<Sentence>& warnings);

/** The structures that are shown, and where alone voxels are tested. */
struct ChosenStructures {
    std::optional<StructureComparison> structures;
    std::optional<TestedPart> within;
};

/** @param catalogue may be null. @throws InputError, UsageError */
ChosenStructures chosenStructures(std::shared_ptr<const StructureCatalogue> catalogue,
                                  const Request& request, const ComparedDoses& doses,
                                  std::vector<Sentence>& warnings);

/** Which rows the patterns of a criterion mean; all, where there is none. @throws UsageError */
std::vector<bool> rowsOf(const std::vector<std::string>& patterns,
                         const StructureComparison& structures);

} // namespace zarngi

#endif
