/**
 * @file structureGamma.h
 * The gamma test within structures.
 */
#ifndef ZARNGI_COMPARISON_STRUCTURES_STRUCTUREGAMMA_H
#define ZARNGI_COMPARISON_STRUCTURES_STRUCTUREGAMMA_H

#include <optional>
#include <vector>

#include "comparison/failedSides.h"
#include "comparison/gammaStatistics.h"
#include "comparison/noise/noiseEstimate.h"
#include "comparison/verdict.h"
#include "files/structures/runs.h"

namespace zarngi
{

/** The result for one criterion in one structure. */
struct StructureGamma {
    GammaStatistics statistics;     ///< the pass rate is the quotient of the counts
    std::optional<Verdict> verdict; ///< none where nothing was tested
    std::optional<NoiseEstimate> withoutNoise;
};

/** Gamma maps on the reference grid, and what they are judged with. */
struct TestedVoxels {
    std::span<const float> gamma;
    std::span<const unsigned char> passed;
    const CentreDoses& doses;
    const Geometry& grid;
    const GammaSettings& settings;
};

StructureGamma structureGamma(const TestedVoxels& tested, const files::Runs& voxels,
                              const Limits& limits);

/** The voxels of a grid that are in none of the sets. */
files::Runs voxelsOutside(const Geometry& grid, const std::vector<const files::Runs*>& sets);

/** An image whose values outside of a set of its voxels are 0. */
Image onlyWithin(const Image& image, const files::Runs& voxels);

/** The number of the first voxel of a run, x fastest. */
inline std::size_t firstVoxel(const Geometry& grid, const files::Run& run)
{
    const auto width = static_cast<std::size_t>(grid.size[0]);
    const auto height = static_cast<std::size_t>(grid.size[1]);
    return (static_cast<std::size_t>(run.z) * height + static_cast<std::size_t>(run.y)) * width +
           static_cast<std::size_t>(run.begin);
}

} // namespace zarngi

#endif
