/**
 * @file doseChanges.h
 * How much the dose changes within groups of rotated points.
 *
 * Part of rotated/groupSearch.h.
 */
#ifndef ZARNGI_ROTATED_DOSECHANGES_H
#define ZARNGI_ROTATED_DOSECHANGES_H

#include <cstddef>

#include "gridAxis.h"
#include "lanes/lanes.h"
#include "rotated/pointGroups.h"

namespace zarngi::engine
{

namespace
{

/** Where the sample point of a voxel lies. */
struct RotatedSample {
    RotatedSample(const RotatedPoints& points, const ActiveVoxel& voxel)
    {
        const VoxelPlace place = placeOf(points.reference.n, voxel.ivxl);
        for (int a = 0; a < 3; ++a) {
            axis[a] = &points.axes->axis[a][static_cast<std::size_t>(place.index[a])];
            origin[a] = axis[a]->position;
            shift[a] = origin[a] - points.evaluation.x0[a];
            perVoxel[a] = 1.0F / points.evaluation.h[a];
        }
    }

    const AxisSample* axis[3];
    float origin[3];   ///< mm
    float shift[3];    ///< mm, from the lower corner of the evaluation grid to the origin
    float perVoxel[3]; ///< 1 / voxel size of the evaluation grid
};

/** The voxels of the evaluation grid around a reference point. */
struct Region {
    int first[3];
    int last[3];

    /** Cells, each between two neighbouring voxel centres on each axis. */
    [[nodiscard]] int cells(int axis) const { return last[axis] - first[axis]; }
};

/**
 * How much the dose can change in the cells of a region: Gy, from the centre of the largest box of
 * points to its edge.
 */
class DoseChanges
{
public:
    DoseChanges(const RotatedPoints& points, const RotatedSample& sample)
        : points_(points), sample_(sample)
    {
    }

    [[nodiscard]] bool find(const Region& region, float sampleDose);
    [[nodiscard]] Lanes::F of(std::size_t group) const;

    /** Gy, of an estimated dose. */
    [[nodiscard]] float error() const { return error_; }

private:
    [[nodiscard]] Lanes::F changesInCells(const float* corner, Lanes::F& notFinite) const;
    void pool();
    [[nodiscard]] bool setError(float sampleDose);

    static constexpr int rowLength = 16; ///< one more than cells
    static constexpr int mostRows = 64;

    const RotatedPoints& points_;
    RotatedSample sample_;
    Region region_{};
    float change_[mostRows * rowLength]; ///< a row of cells along x for each y and, slower, z
    bool fits_ = false; ///< whether the region does; otherwise most_ stands for all cells
    float most_ = 0;    ///< Gy, of all cells
    float error_ = 0;   ///< Gy, of an estimated dose
};

/**
 * Finds how much the dose changes in each cell of the region; false if doses there are not finite
 * or too large. Reads behind a row's end, where the map is padded.
 */
bool DoseChanges::find(const Region& region, float sampleDose)
{
    using F = Lanes::F;
    region_ = region;
    const int* const n = points_.evaluation.n;
    bool boxFits = true; // a box reaches into two cells on each axis at most
    for (int a = 0; a < 3; ++a) {
        boxFits = boxFits && 2.001F * points_.halfExtent[a] < points_.evaluation.h[a];
    }
    const int rows = region_.cells(1) * region_.cells(2);
    fits_ = boxFits && region_.cells(0) < rowLength && rows <= mostRows;
    F most = Lanes::all(0);
    for (int ix = 0; ix < region_.cells(0); ix += Lanes::width) {
        F notFinite = Lanes::all(0); // stays zero as long as all doses are finite
        F mostHere = Lanes::all(0);
        const int left = region_.cells(0) - ix;
        const unsigned valid = left < Lanes::width ? (1U << left) - 1 : Lanes::everyLane;
        float* row = change_ + ix;
        for (int iz = region_.first[2]; iz < region_.last[2]; ++iz) {
            for (int iy = region_.first[1]; iy < region_.last[1]; ++iy) {
                const int corner = voxelIndex(n, region_.first[0] + ix, iy, iz);
                const F here =
                    Lanes::select(valid, changesInCells(points_.evaluation.map + corner, notFinite),
                                  Lanes::all(0));
                mostHere = Lanes::max(here, mostHere);
                if (fits_) {
                    Lanes::store(row, here);
                    row += rowLength;
                }
            }
        }
        if ((Lanes::notGreater(Lanes::all(1), notFinite) & valid) != 0) {
            return false;
        }
        most = Lanes::max(mostHere, most);
    }
    most_ = Lanes::largest(most);
    if (fits_) {
        pool();
    }
    return setError(sampleDose);
}

/** The changes in cells side by side along x, of which the first has this lower corner. */
Lanes::F DoseChanges::changesInCells(const float* corner, Lanes::F& notFinite) const
{
    using F = Lanes::F;
    const int right = points_.evaluation.n[0];
    const int back = points_.evaluation.n[0] * points_.evaluation.n[1];
    const F low[4] = {Lanes::load(corner), Lanes::load(corner + right), Lanes::load(corner + back),
                      Lanes::load(corner + back + right)};
    const F high[4] = {Lanes::load(corner + 1), Lanes::load(corner + right + 1),
                       Lanes::load(corner + back + 1), Lanes::load(corner + back + right + 1)};
    const auto largest = [](F a, F b, F c, F d) {
        return Lanes::max(Lanes::max(absolute(a), absolute(b)),
                          Lanes::max(absolute(c), absolute(d)));
    };
    const F x[4] = {high[0] - low[0], high[1] - low[1], high[2] - low[2], high[3] - low[3]};
    notFinite = notFinite + ((x[0] + x[1]) + (x[2] + x[3])) * Lanes::all(0);
    const F change[3] = {
        largest(x[0], x[1], x[2], x[3]),
        largest(low[1] - low[0], low[3] - low[2], high[1] - high[0], high[3] - high[2]),
        largest(low[2] - low[0], low[3] - low[1], high[2] - high[0], high[3] - high[1])};
    F sum = Lanes::all(0);
    for (int a = 0; a < 3; ++a) {
        sum = sum + change[a] * Lanes::all(points_.halfExtent[a] / points_.evaluation.h[a]);
    }
    return sum;
}

/** Gives each row of cells the largest changes of itself and its next neighbours along y and z. */
void DoseChanges::pool()
{
    using F = Lanes::F;
    const int ny = region_.cells(1);
    const int nz = region_.cells(2);
    for (int ix = 0; ix < region_.cells(0); ix += Lanes::width) {
        for (int iz = 0; iz < nz; ++iz) {
            for (int iy = 0; iy < ny; ++iy) {
                const int toNextY = iy + 1 < ny ? rowLength : 0;
                const int toNextZ = iz + 1 < nz ? rowLength * ny : 0;
                float* const row = change_ + (iz * ny + iy) * rowLength + ix;
                const F here = Lanes::max(Lanes::load(row), Lanes::load(row + toNextY));
                const F above =
                    Lanes::max(Lanes::load(row + toNextZ), Lanes::load(row + toNextZ + toNextY));
                Lanes::store(row, Lanes::max(here, above));
            }
        }
    }
    for (int row = 0; row < ny * nz; ++row) {
        change_[row * rowLength + region_.cells(0)] = 0; // read with the last cell
    }
}

/** Sets the error from the largest change of the region; false if doses are too large. */
bool DoseChanges::setError(float sampleDose)
{
    float perChange = 0;
    for (int a = 0; a < 3; ++a) {
        const float width = static_cast<float>(region_.cells(a)) * points_.evaluation.h[a];
        const float position = __builtin_fabsf(sample_.origin[a]) +
                               __builtin_fabsf(points_.evaluation.x0[a]) + points_.reach;
        const float here = (width + position) / points_.halfExtent[a];
        perChange = here > perChange ? here : perChange;
    }
    // Some 20 roundings of the largest dose, and of the positions times the slopes.
    const float magnitude = __builtin_fabsf(sampleDose) + perChange * most_;
    error_ = magnitude * 0x1p-19F;
    return magnitude < 1e15F;
}

/** How much the doses of groups can differ from those at their centres. */
Lanes::F DoseChanges::of(std::size_t group) const
{
    using F = Lanes::F;
    const F extent = Lanes::load(points_.extent.data() + group);
    const F error = Lanes::all(error_);
    if (!fits_) {
        return error + extent * Lanes::all(most_);
    }
    Lanes::I cell[3];
    for (int a = 0; a < 3; ++a) {
        const F corner = Lanes::load(points_.corner[a].data() + group);
        const F centred =
            (corner + Lanes::all(sample_.shift[a])) * Lanes::all(sample_.perVoxel[a]) -
            Lanes::all(0.5F + static_cast<float>(region_.first[a]));
        const F last = Lanes::all(static_cast<float>(region_.cells(a) - 1));
        cell[a] = Lanes::truncated(Lanes::min(Lanes::max(centred, Lanes::all(0)), last));
    }
    const int ny = region_.cells(1);
    const Lanes::I row = Lanes::sum(cell[1], Lanes::times(cell[2], ny));
    F low;
    F high;
    Lanes::gatherPairs(change_, Lanes::sum(cell[0], Lanes::times(row, rowLength)), low, high);
    return error + extent * Lanes::max(low, high);
}

} // namespace

} // namespace zarngi::engine

#endif
