#include "comparison/structures/structureGamma.h"

#include <algorithm>

#include "libZarnGI.h"

namespace zarngi
{

namespace
{

std::size_t lengthOf(const files::Run& run)
{
    return static_cast<std::size_t>(run.end - run.begin);
}

} // namespace

StructureGamma structureGamma(const TestedVoxels& tested, const files::Runs& voxels,
                              const Limits& limits)
{
    std::vector<float> gamma;
    std::vector<unsigned char> passed;
    FailedSides sides;
    for (const files::Run& run : voxels) {
        const std::size_t first = firstVoxel(tested.grid, run);
        for (std::size_t voxel = first; voxel < first + lengthOf(run); ++voxel) {
            if (tested.passed[voxel] == ZARNGI_NOT_TESTED) {
                continue;
            }
            gamma.push_back(tested.gamma[voxel]);
            passed.push_back(tested.passed[voxel]);
            if (tested.passed[voxel] == ZARNGI_FAILED) {
                tested.doses.count(sides, voxel);
            }
        }
    }
    StructureGamma result;
    result.statistics = gammaStatistics(gamma, passed, tested.settings);
    result.statistics.sides = sides;
    if (result.statistics.tested > 0) {
        result.verdict = verdictOf(result.statistics.passRate, limits);
    }
    return result;
}

files::Runs voxelsOutside(const Geometry& grid, const std::vector<const files::Runs*>& sets)
{
    files::Runs rest;
    for (int z = 0; z < grid.size[2]; ++z) {
        for (int y = 0; y < grid.size[1]; ++y) {
            rest.push_back({z, y, 0, grid.size[0]});
        }
    }
    for (const files::Runs* const set : sets) {
        rest = files::difference(rest, *set);
    }
    return rest;
}

Image onlyWithin(const Image& image, const files::Runs& voxels)
{
    files::LargeVector<float> values(image.values.size(), 0.0F);
    for (const files::Run& run : voxels) {
        const std::size_t first = firstVoxel(image.geometry, run);
        std::copy_n(image.values.begin() + static_cast<std::ptrdiff_t>(first), lengthOf(run),
                    values.begin() + static_cast<std::ptrdiff_t>(first));
    }
    return {image.geometry, std::move(values)};
}

} // namespace zarngi
