#include "files/structures/maskRegion.h"

#include <algorithm>
#include <utility>

namespace files
{

namespace
{

std::size_t indexOf(const Geometry& geometry, int x, int y, int z)
{
    const auto width = static_cast<std::size_t>(geometry.size[0]);
    const auto height = static_cast<std::size_t>(geometry.size[1]);
    return (static_cast<std::size_t>(z) * height + static_cast<std::size_t>(y)) * width +
           static_cast<std::size_t>(x);
}

void include(VoxelBox& box, const std::array<int, 3>& voxel)
{
    for (std::size_t axis = 0; axis < 3; ++axis) {
        box.begin[axis] = std::min(box.begin[axis], voxel[axis]);
        box.end[axis] = std::max(box.end[axis], voxel[axis] + 1);
    }
}

/** How much of a voxel's length along an axis lies between the faces of a grid, 0 to 1. */
double shareWithin(double lower, double upper, const Geometry& grid, std::size_t axis)
{
    const double lowest = grid.origin[axis] - grid.spacing[axis] / 2;
    const double highest = grid.origin[axis] + (grid.size[axis] - 0.5) * grid.spacing[axis];
    const double length = std::min(upper, highest) - std::max(lower, lowest);
    return std::clamp(length / (upper - lower), 0.0, 1.0);
}

constexpr double perCc = 1000; // mm^3

double voxelVolume(const Geometry& geometry)
{
    return geometry.spacing[0] * geometry.spacing[1] * geometry.spacing[2];
}

} // namespace

std::map<std::int32_t, VoxelBox> boxesOf(const LabelGrid& grid)
{
    std::map<std::int32_t, VoxelBox> boxes;
    const std::array<int, 3>& size = grid.geometry.size;
    auto label = grid.labels.begin();
    for (int z = 0; z < size[2]; ++z) {
        for (int y = 0; y < size[1]; ++y) {
            const auto row = label;
            label += size[0];
            for (auto start = row; start != label;) {
                const std::int32_t value = *start;
                const auto end =
                    std::find_if(start, label, [value](std::int32_t v) { return v != value; });
                if (value != 0) {
                    const int first = static_cast<int>(start - row);
                    const int last = static_cast<int>(end - row) - 1;
                    const VoxelBox voxel{{first, y, z}, {first + 1, y + 1, z + 1}};
                    VoxelBox& box = boxes.try_emplace(value, voxel).first->second;
                    include(box, {first, y, z});
                    include(box, {last, y, z});
                }
                start = end;
            }
        }
    }
    return boxes;
}

MaskRegion::MaskRegion(LabelRegion region, const VoxelBox& box)
    : region_(std::move(region)), box_(box)
{
}

double MaskRegion::lowerFace(std::size_t axis, int index) const
{
    const Geometry& mask = region_.grid->geometry;
    return mask.origin[axis] + (index - 0.5) * mask.spacing[axis];
}

/** For each point along an axis the voxel of the box that holds it, or -1. */
std::vector<int> MaskRegion::voxelsOf(const Raster& raster, std::size_t axis) const
{
    std::vector<int> voxels(static_cast<std::size_t>(raster.size(axis)), -1);
    for (int voxel = box_.begin[axis]; voxel < box_.end[axis]; ++voxel) {
        const std::int64_t begin = raster.firstFrom(axis, lowerFace(axis, voxel));
        const std::int64_t end = raster.firstFrom(axis, lowerFace(axis, voxel + 1));
        std::fill(voxels.begin() + begin, voxels.begin() + std::max(begin, end), voxel);
    }
    return voxels;
}

/** The runs of a row of points that lie in a row of the mask. @param xs the voxel of each point */
Runs MaskRegion::rowOf(int y, int z, const std::vector<int>& xs) const
{
    const std::int32_t* const labels =
        &region_.grid->labels[indexOf(region_.grid->geometry, 0, y, z)];
    Runs runs;
    for (std::size_t i = 0; i < xs.size(); ++i) {
        const int x = static_cast<int>(i);
        if (xs[i] < 0 || labels[xs[i]] != region_.label) {
            continue;
        }
        if (!runs.empty() && runs.back().end == x) {
            ++runs.back().end;
        } else {
            runs.push_back({0, 0, x, x + 1});
        }
    }
    return runs;
}

Runs MaskRegion::pointsIn(const Raster& raster) const
{
    const std::vector<int> xs = voxelsOf(raster, 0);
    const std::vector<int> ys = voxelsOf(raster, 1);
    const std::vector<int> zs = voxelsOf(raster, 2);
    Runs runs;
    Runs row;
    std::array<int, 2> known{-1, -1};
    for (std::size_t z = 0; z < zs.size(); ++z) {
        for (std::size_t y = 0; zs[z] >= 0 && y < ys.size(); ++y) {
            const std::array<int, 2> voxels{ys[y], zs[z]};
            if (ys[y] < 0) {
                continue;
            }
            if (voxels != known) {
                row = rowOf(ys[y], zs[z], xs);
                known = voxels;
            }
            for (const Run& run : row) {
                runs.push_back({static_cast<int>(z), static_cast<int>(y), run.begin, run.end});
            }
        }
    }
    return runs;
}

template <class Use> void MaskRegion::forEachVoxel(const Use& use) const
{
    const LabelGrid& grid = *region_.grid;
    for (int z = box_.begin[2]; z < box_.end[2]; ++z) {
        for (int y = box_.begin[1]; y < box_.end[1]; ++y) {
            for (int x = box_.begin[0]; x < box_.end[0]; ++x) {
                if (grid.labels[indexOf(grid.geometry, x, y, z)] == region_.label) {
                    use(x, y, z);
                }
            }
        }
    }
}

/** In voxels of the mask. */
double MaskRegion::volumeWithin(const Geometry& grid) const
{
    std::array<std::vector<double>, 3> shares;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        for (int voxel = box_.begin[axis]; voxel < box_.end[axis]; ++voxel) {
            shares[axis].push_back(
                shareWithin(lowerFace(axis, voxel), lowerFace(axis, voxel + 1), grid, axis));
        }
    }
    const auto share = [&](std::size_t axis, int voxel) {
        return shares[axis][static_cast<std::size_t>(voxel - box_.begin[axis])];
    };
    double volume = 0;
    forEachVoxel([&](int x, int y, int z) { volume += share(0, x) * share(1, y) * share(2, z); });
    return volume;
}

OutsideGrid MaskRegion::outside(const Geometry& grid) const
{
    double whole = 0;
    forEachVoxel([&](int, int, int) { ++whole; });
    OutsideGrid outside;
    outside.share = whole > 0 ? 1 - volumeWithin(grid) / whole : 0;
    return outside;
}

double MaskRegion::volume() const
{
    std::size_t count = 0;
    forEachVoxel([&](int, int, int) { ++count; });
    return static_cast<double>(count) * voxelVolume(region_.grid->geometry) / perCc;
}

} // namespace files
