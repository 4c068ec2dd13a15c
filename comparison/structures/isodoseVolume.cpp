#include "comparison/structures/isodoseVolume.h"

#include <algorithm>
#include <array>
#include <utility>

#include "comparison/structures/doseSamples.h"

namespace zarngi
{

namespace
{

/** Voxels of a grid along each axis, from the first to before the last number. */
using Box = std::array<std::pair<int, int>, 3>;

/** Around the voxels that reach a dose, wide enough for all that interpolation makes of them. */
Box boxAround(const DoseView& dose, double level)
{
    const std::array<int, 3>& size = dose.geometry.size;
    Box box{{{size[0], 0}, {size[1], 0}, {size[2], 0}}};
    std::size_t voxel = 0;
    for (int z = 0; z < size[2]; ++z) {
        for (int y = 0; y < size[1]; ++y) {
            for (int x = 0; x < size[0]; ++x, ++voxel) {
                if (!(static_cast<double>(dose.values[voxel]) >= level)) {
                    continue;
                }
                const std::array<int, 3> place{x, y, z};
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    auto& [begin, end] = box[axis];
                    begin = std::min(begin, std::max(place[axis] - 1, 0));
                    end = std::max(end, std::min(place[axis] + 2, size[axis]));
                }
            }
        }
    }
    return box;
}

} // namespace

double isodoseVolume(const DoseView& dose, double level)
{
    const Box box = boxAround(dose, level);
    SubPoints plane{files::finestRaster(dose.geometry), {}};
    const std::array<int, 3> parts = plane.raster.parts;
    std::size_t count = 0;
    for (int z = box[2].first * parts[2]; z < box[2].second * parts[2]; ++z) {
        plane.runs.clear();
        for (int y = box[1].first * parts[1]; y < box[1].second * parts[1]; ++y) {
            plane.runs.push_back({z, y, box[0].first * parts[0], box[0].second * parts[0]});
        }
        const std::vector<double> doses = doseSamples(dose, plane).doses;
        count += static_cast<std::size_t>(std::count_if(
            doses.begin(), doses.end(), [level](double value) { return value >= level; }));
    }
    constexpr double perCc = 1000; // mm^3
    return static_cast<double>(count) * plane.raster.volumeOfPart() / perCc;
}

} // namespace zarngi
