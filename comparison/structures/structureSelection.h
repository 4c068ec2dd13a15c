/**
 * @file structureSelection.h
 * Which structures of a comparison are shown.
 */
#ifndef ZARNGI_COMPARISON_STRUCTURES_STRUCTURESELECTION_H
#define ZARNGI_COMPARISON_STRUCTURES_STRUCTURESELECTION_H

#include <optional>
#include <string>
#include <vector>

#include "comparison/structures/structureCatalogue.h"
#include "comparison/structures/structureExpression.h"

namespace zarngi
{

/** A structure of a file, or a combined one. */
struct ChosenStructure {
    std::string name;
    std::optional<std::size_t> place{}; ///< in the catalogue; none for a combined one
    std::string expression{};           ///< as it was written, of a combined one
    StructureExpression points;
};

/** A structure that cannot be taken. */
struct RefusedStructure {
    std::string name;
    std::string reason; ///< continues "NAME: "
};

struct StructureSelection {
    std::vector<ChosenStructure> shown;
    std::vector<RefusedStructure> refused;
};

/**
 * @param wanted   patterns, or combinations like "ring=PTV57-PTV67", in the order of the rows; none
 *                 of them: all structures.
 * @param excluded patterns of rows that are left out; combinations may still use them.
 * @throws UsageError, also where nothing is left, or a combination uses a refused structure
 */
StructureSelection selectStructures(const StructureCatalogue& catalogue,
                                    const std::vector<std::string>& wanted,
                                    const std::vector<std::string>& excluded);

/**
 * The structures that a pattern or an expression means together; combined ones by their names, too.
 * @param place of the text in a request.
 * @throws UsageError at the place
 */
StructureExpression structuresTogether(const MemberPlace& place, const std::string& text,
                                       const StructureCatalogue& catalogue,
                                       const StructureSelection& selection);

/** The points of a raster that belong to an expression over the structures of a catalogue. */
files::Runs pointsIn(const StructureExpression& expression, const StructureCatalogue& catalogue,
                     const files::Raster& raster);

} // namespace zarngi

#endif
