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
 * @param doses that they are to lie in, the one whose frame they share first.
 * @param warnings gets those of the files.
 * @throws UsageError where the doses are no volumes, InputError where the positions are not those
 * of the doses
 */
std::shared_ptr<const StructureCatalogue> catalogueOf(const StructureRequest& request,
                                                      DoseSource& source,
                                                      const std::vector<const DoseImage*>& doses,
                                                      std::vector<Sentence>& warnings);

/** What structures are filled with: two doses, or one in both places. */
struct DosesInStructures {
    const DoseImage& reference;
    const DoseImage& evaluation;
    double normalisation; ///< 100 % where nothing is prescribed
    double largest;       ///< of all doses

    bool isPair() const { return &reference != &evaluation; }
};

/** @param doses stay where they are. */
DosesInStructures pairOf(const ComparedDoses& doses);

/** The structures that are shown, where alone voxels are tested, and whether goals are met. */
struct ChosenStructures {
    std::optional<StructureComparison> structures;
    std::optional<TestedPart> within;
    std::vector<GoalResult> goals;
};

/** @param catalogue may be null. @throws InputError, UsageError */
ChosenStructures chosenStructures(std::shared_ptr<const StructureCatalogue> catalogue,
                                  const Request& request, const DosesInStructures& doses,
                                  std::vector<Sentence>& warnings);

/** Which rows the patterns of a criterion mean; all, where there is none. @throws UsageError */
std::vector<bool> rowsOf(const std::vector<std::string>& patterns,
                         const StructureComparison& structures);

} // namespace zarngi

#endif
