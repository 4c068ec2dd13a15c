#include "comparison/structures/structureComparison.h"

#include <chrono>

#include "comparison/parallel.h"
#include "comparison/structures/structureGamma.h"
#include "comparison/structures/structureNotes.h"

namespace zarngi
{

namespace
{

/** For structures whose file gives no colour: apart from each other on light and on dark. */
constexpr std::array<Colour, 10> palette{{{31, 119, 180},
                                          {255, 127, 14},
                                          {44, 160, 44},
                                          {214, 39, 40},
                                          {148, 103, 189},
                                          {140, 86, 75},
                                          {227, 119, 194},
                                          {127, 127, 127},
                                          {188, 189, 34},
                                          {23, 190, 207}}};

Colour colourOf(const ChosenStructure& chosen, const StructureCatalogue& catalogue,
                std::size_t index)
{
    const Colour fallback = palette[index % palette.size()];
    return chosen.place ? catalogue.structure(*chosen.place).colour.value_or(fallback) : fallback;
}

void fillRow(StructureRow& row, const StructureCatalogue& catalogue, const DoseView& reference,
             const DoseView& evaluation, const DoseVolumeSettings& settings)
{
    const Geometry& grid = reference.geometry;
    row.voxels = pointsIn(row.chosen.points, catalogue, files::voxelCentres(grid));
    const SubPoints points = subPointsOf(grid, [&](const files::Raster& raster) {
        return pointsIn(row.chosen.points, catalogue, raster);
    });
    row.volume = points.volume();
    row.subPoints = points.raster.parts;
    if (row.chosen.place) {
        row.outside = catalogue.region(*row.chosen.place)->outside(grid);
    }
    row.reference = doseVolume(reference, points, settings);
    // A dose that is compared with itself is looked at once.
    const bool isSame = evaluation.values.data() == reference.values.data();
    row.evaluation = isSame ? row.reference : doseVolume(evaluation, points, settings);
    row.notes = structureNotes(row, points.count(), catalogue, grid);
}

} // namespace

std::vector<StructureName> StructureComparison::names() const
{
    std::vector<StructureName> names;
    for (const StructureRow& row : rows) {
        names.push_back(row.chosen.place ? catalogue->names()[*row.chosen.place]
                                         : StructureName{row.chosen.name, row.chosen.name});
    }
    return names;
}

StructureComparison compareStructures(std::shared_ptr<const StructureCatalogue> catalogue,
                                      StructureSelection selection, const DoseView& reference,
                                      const DoseView& evaluation,
                                      const DoseVolumeSettings& settings, int threads)
{
    const auto start = std::chrono::steady_clock::now();
    StructureComparison result;
    result.catalogue = std::move(catalogue);
    result.refused = std::move(selection.refused);
    result.doseVolume = settings;
    for (ChosenStructure& chosen : selection.shown) {
        StructureRow& row = result.rows.emplace_back();
        row.chosen = std::move(chosen);
        row.colour = colourOf(row.chosen, *result.catalogue, result.rows.size() - 1);
    }
    forEachIndex(result.rows.size(), threads, [&](std::size_t i) {
        fillRow(result.rows[i], *result.catalogue, reference, evaluation, settings);
    });
    std::vector<const files::Runs*> voxels;
    for (const StructureRow& row : result.rows) {
        voxels.push_back(&row.voxels);
    }
    result.outside = voxelsOutside(reference.geometry, voxels);
    const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - start;
    result.seconds = duration.count();
    return result;
}

} // namespace zarngi
