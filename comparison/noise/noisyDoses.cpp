#include "comparison/noise/noisyDoses.h"

#include <array>

#include "comparison/parallel.h"

namespace zarngi
{

namespace
{

/** Voxels of one row, by their numbers in the grid. */
void addToRow(std::span<const float> doses, const AddedNoise& noise, std::size_t first,
              std::span<float> values)
{
    std::array<double, 2> numbers{};
    std::size_t drawn = 0; // the pair whose numbers these are, plus 1
    for (std::size_t i = 0; i < values.size(); ++i) {
        const std::size_t voxel = first + i;
        values[i] = doses[voxel];
        const float uncertainty = noise.uncertainty[voxel];
        if (!(uncertainty > 0)) {
            continue;
        }
        if (drawn != voxel / 2 + 1) {
            numbers = noise.numbers.pairOf(voxel / 2);
            drawn = voxel / 2 + 1;
        }
        const double added = noise.factor * static_cast<double>(uncertainty) * numbers[voxel % 2];
        values[i] = static_cast<float>(static_cast<double>(doses[voxel]) + added);
    }
}

} // namespace

void addNoise(const DoseView& doses, const GridBox& box, const AddedNoise& noise, int threads,
              std::vector<float>& values)
{
    if (noise.uncertainty.empty() || noise.factor == 0) {
        values = valuesWithin(doses, box);
        return;
    }
    const auto width = static_cast<std::size_t>(doses.geometry.size[0]);
    const auto height = static_cast<std::size_t>(doses.geometry.size[1]);
    const std::size_t rowsOfLayer = box.width(1);
    values.resize(box.width(0) * rowsOfLayer * box.width(2));
    forEachIndex(box.width(2), threads, [&](std::size_t layer) {
        const std::size_t z = static_cast<std::size_t>(box.first[2]) + layer;
        for (std::size_t row = 0; row < rowsOfLayer; ++row) {
            const std::size_t y = static_cast<std::size_t>(box.first[1]) + row;
            const std::size_t first =
                (z * height + y) * width + static_cast<std::size_t>(box.first[0]);
            addToRow(doses.values, noise, first,
                     std::span(values).subspan((layer * rowsOfLayer + row) * box.width(0),
                                               box.width(0)));
        }
    });
}

} // namespace zarngi
