/**
 * @file structureComparison.h
 * The structures of a comparison: what lies in them, and the doses there.
 */
#ifndef ZARNGI_COMPARISON_STRUCTURES_STRUCTURECOMPARISON_H
#define ZARNGI_COMPARISON_STRUCTURES_STRUCTURECOMPARISON_H

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "comparison/structures/doseVolume.h"
#include "comparison/structures/structureSelection.h"
#include "comparison/verdict.h"

namespace zarngi
{

/** Red, green, blue. */
using Colour = std::array<std::uint8_t, 3>;

/** A structure that is shown; what the criteria find in it stands with their results. */
struct StructureRow {
    ChosenStructure chosen;
    Colour colour{};
    files::Runs voxels;                    ///< of the reference grid, whose centres belong
    double volume = 0;                     ///< cc, by sub-points
    std::array<int, 3> subPoints{1, 1, 1}; ///< of a voxel, along each axis
    files::OutsideGrid outside;            ///< nothing for a combined structure
    std::vector<std::string> notes;        ///< each continues "NAME: "
    Limits limits;
    std::optional<double> failBelow; ///< %
    std::optional<DoseVolume> reference;
    std::optional<DoseVolume> evaluation;
};

struct StructureComparison {
    std::shared_ptr<const StructureCatalogue> catalogue;
    std::vector<StructureRow> rows;
    std::vector<RefusedStructure> refused;
    files::Runs outside; ///< voxels in none of the rows
    DoseVolumeSettings doseVolume;
    std::optional<double> prescription; ///< Gy
    double seconds = 0;                 ///< of voxels, volumes and histograms

    std::vector<StructureName> names() const;
};

/** @param threads at most as many are used; the results are the same with any number. */
StructureComparison compareStructures(std::shared_ptr<const StructureCatalogue> catalogue,
                                      StructureSelection selection, const DoseView& reference,
                                      const DoseView& evaluation,
                                      const DoseVolumeSettings& settings, int threads);

} // namespace zarngi

#endif
