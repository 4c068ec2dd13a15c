/**
 * @file groupSearch.h
 * The search of rotated points around one voxel, written once and compiled once per vector path.
 */
#ifndef ZARNGI_ROTATED_GROUPSEARCH_H
#define ZARNGI_ROTATED_GROUPSEARCH_H

#include "gammaTerm.h"
#include "lanes.h"
#include "rotated/pointGroups.h"

namespace
{

/** The voxels of the evaluation grid around a reference point. */
struct Region {
    int first[3];
    int last[3];

    /** Cells, each between two neighbouring voxel centres on each axis. */
    [[nodiscard]] int cells(int axis) const { return last[axis] - first[axis]; }
};

/**
 * How much the dose can change in the cells of a region: Gy, from the centre of the largest box of
 * points to its edge. A row of cells along x for each y and, slower, z.
 */
struct CellRooms {
    static constexpr int rowLength = 16; ///< one more than cells
    static constexpr int mostRows = 64;

    float room[mostRows * rowLength];
};

class RotatedSearch
{
public:
    RotatedSearch(const RotatedPoints& points, ActiveVoxel& voxel) : points_(points), voxel_(voxel)
    {
        const VoxelPlace place = placeOf(points.reference.n, voxel.ivxl);
        for (int a = 0; a < 3; ++a) {
            sample_[a] = &points.axes->axis[a][static_cast<std::size_t>(place.index[a])];
            origin_[a] = sample_[a]->position;
            shift_[a] = origin_[a] - points.evaluation.x0[a];
            perVoxel_[a] = 1.0F / points.evaluation.h[a];
        }
    }

    bool run()
    {
        if (!insideCentreZone({points_.reach, points_.reach, points_.reach})) {
            return false;
        }
        referenceDose_ =
            doseAtPoint(points_.reference.map, points_.reference.n, sample_[0]->inReference,
                        sample_[1]->inReference, sample_[2]->inReference, Reader::trilinear);
        delta_ = doseCriterion(points_.localDD, referenceDose_, points_.dd, points_.ddValue);
        const float criterion = delta_ < 0 ? -delta_ : delta_;
        perGy_ = 1.0F / criterion;
        perMm_ = 1.0F / points_.dta;
        if (!(perGy_ < 1e15F && perGy_ > 0 && perMm_ < 1e15F)) {
            return false;
        }
        best_ = voxel_.gammasq;
        tryCandidate();
        // Only groups with points that can still matter decide how steep the doses are.
        const float radius = __builtin_sqrtf(threshold()) * points_.dta;
        float reach[3];
        for (int a = 0; a < 3; ++a) {
            const float box = radius + points_.halfExtent[a];
            reach[a] = box < points_.reach ? box : points_.reach;
        }
        static_cast<void>(insideCentreZone(reach));
        if (!findRooms()) {
            return false;
        }
        searchGroups();
        store();
        return true;
    }

private:
    [[nodiscard]] bool insideCentreZone(const float (&reach)[3]);
    bool findRooms();
    [[nodiscard]] Lanes::F roomsOfCells(const float* corner, Lanes::F& notFinite) const;
    void poolRooms();
    [[nodiscard]] bool setDoseError();
    [[nodiscard]] Lanes::F roomOf(std::size_t group) const;
    void tryCandidate();
    void searchGroups();
    void searchGroup(std::int32_t group);
    [[nodiscard]] Lanes::F doses(const Lanes::F (&position)[3]) const;
    void consider(const float (&sphPos)[3]);

    [[nodiscard]] bool settled() const { return points_.passRateMode && best_ <= 1.0F; }

    /** gamma^2 that matters, raised by the relative error of its estimates (some 20 roundings). */
    [[nodiscard]] float threshold() const
    {
        return (points_.passRateMode ? 1.0F : best_) * (1.0F + 0x1p-18F);
    }

    void store()
    {
        if (best_ < voxel_.gammasq) {
            voxel_.gammasq = best_;
            voxel_.distanceMinGamma = __builtin_sqrtf(bestDistanceSquared_);
        }
        if (best_ <= 1.0F) {
            voxel_.passed = true;
        }
        if (points_.largestDistanceTerm >= voxel_.gammasq) {
            voxel_.stopSearching = true;
        }
    }

    const RotatedPoints& points_;
    ActiveVoxel& voxel_;
    const AxisSample* sample_[3];
    float origin_[3];
    float shift_[3];    ///< mm, from the lower corner of the evaluation grid to the origin
    float perVoxel_[3]; ///< 1 / voxel size of the evaluation grid
    Region region_{};
    CellRooms rooms_;     ///< filled where the region fits
    bool fits_ = false;   ///< whether it does; otherwise mostRoom_ stands for all cells
    float mostRoom_ = 0;  ///< Gy, of all cells
    float doseError_ = 0; ///< Gy, of an estimated dose
    float referenceDose_ = 0;
    float sampleDose_ = 0; ///< Gy, evaluation dose at the sample point
    float delta_ = 0;
    float perGy_ = 0;
    float perMm_ = 0;
    float best_ = 0;
    float bestDistanceSquared_ = 0;
};

/** Finds the voxels within reach (mm); false if a point there is outside the centre zone. */
bool RotatedSearch::insideCentreZone(const float (&reach)[3])
{
    for (int a = 0; a < 3; ++a) {
        const float h = points_.evaluation.h[a];
        const int n = points_.evaluation.n[a];
        const float centred = (origin_[a] - points_.evaluation.x0[a]) / h - 0.5F;
        // Positions are rounded to float.
        const float rounding =
            0x1p-20F *
            (__builtin_fabsf(origin_[a]) + __builtin_fabsf(points_.evaluation.x0[a]) + reach[a]) /
            h;
        const float room = reach[a] / h + 0.001F + rounding;
        const float low = centred - room;
        const float high = centred + room;
        if (!(low >= 0 && high < static_cast<float>(n - 1))) {
            return false;
        }
        region_.first[a] = static_cast<int>(low);
        region_.last[a] = static_cast<int>(high) + 1;
    }
    return true;
}

/** Considers the point nearest to the minimum of the dose field linearised at the sample point. */
void RotatedSearch::tryCandidate()
{
    AxisPoint axis[3];
    for (int a = 0; a < 3; ++a) {
        axis[a] = locate(origin_[a], points_.evaluation.x0[a], points_.evaluation.h[a],
                         points_.evaluation.n[a], Reader::trilinear);
    }
    const LinearDose<OneLane> linear =
        linearDose(points_.evaluation.map, points_.evaluation.n, axis[0], axis[1], axis[2]);
    sampleDose_ = linear.dose;
    float g[3];
    float steepness = 0;
    for (int a = 0; a < 3; ++a) {
        g[a] = linear.perVoxel[a] * perGy_ * points_.dta / points_.evaluation.h[a];
        steepness += g[a] * g[a];
    }
    const float move = -(linear.dose - referenceDose_) * perGy_ / (steepness + 1.0F) * points_.dta /
                       points_.stepSize;
    float sphPos[3];
    std::int64_t squared = 0;
    for (int i = 0; i < 3; ++i) {
        const float target = move * (points_.rotation[0][i] * g[0] + points_.rotation[1][i] * g[1] +
                                     points_.rotation[2][i] * g[2]);
        if (!(__builtin_fabsf(target) < 1024.0F)) {
            return;
        }
        const auto index = static_cast<std::int32_t>(target + (target < 0 ? -0.5F : 0.5F));
        squared += std::int64_t{index} * index;
        sphPos[i] = static_cast<float>(index) * points_.stepSize;
    }
    if (squared > points_.wholeSquared) {
        return;
    }
    // In the order of operations of applyRotation.
    float rotated[3];
    for (int i = 0; i < 3; ++i) {
        rotated[i] =
            ((0.0F + points_.rotation[i][0] * sphPos[0]) + points_.rotation[i][1] * sphPos[1]) +
            points_.rotation[i][2] * sphPos[2];
    }
    consider(rotated);
}

/**
 * Finds how much the dose changes in each cell of the region; false if doses there are not finite
 * or too large. Reads behind a row's end, where the map has room.
 */
bool RotatedSearch::findRooms()
{
    using F = Lanes::F;
    const int* const n = points_.evaluation.n;
    bool boxFits = true; // a box reaches into two cells on each axis at most
    for (int a = 0; a < 3; ++a) {
        boxFits = boxFits && 2.001F * points_.halfExtent[a] < points_.evaluation.h[a];
    }
    const int rows = region_.cells(1) * region_.cells(2);
    fits_ = boxFits && region_.cells(0) < CellRooms::rowLength && rows <= CellRooms::mostRows;
    F most = Lanes::all(0);
    for (int ix = 0; ix < region_.cells(0); ix += Lanes::width) {
        F notFinite = Lanes::all(0); // stays zero as long as all doses are finite
        F mostHere = Lanes::all(0);
        const int left = region_.cells(0) - ix;
        const unsigned valid = left < Lanes::width ? (1U << left) - 1 : Lanes::everyLane;
        float* row = rooms_.room + ix;
        for (int iz = region_.first[2]; iz < region_.last[2]; ++iz) {
            for (int iy = region_.first[1]; iy < region_.last[1]; ++iy) {
                const int corner = voxelIndex(n, region_.first[0] + ix, iy, iz);
                const F room = Lanes::select(
                    valid, roomsOfCells(points_.evaluation.map + corner, notFinite), Lanes::all(0));
                mostHere = Lanes::max(room, mostHere);
                if (fits_) {
                    Lanes::store(row, room);
                    row += CellRooms::rowLength;
                }
            }
        }
        if ((Lanes::notGreater(Lanes::all(1), notFinite) & valid) != 0) {
            return false;
        }
        most = Lanes::max(mostHere, most);
    }
    mostRoom_ = largestLane(most);
    if (fits_) {
        poolRooms();
    }
    return setDoseError();
}

/** The rooms of cells side by side along x, of which the first has this lower corner. */
Lanes::F RotatedSearch::roomsOfCells(const float* corner, Lanes::F& notFinite) const
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
    F room = Lanes::all(0);
    for (int a = 0; a < 3; ++a) {
        room = room + change[a] * Lanes::all(points_.halfExtent[a] / points_.evaluation.h[a]);
    }
    return room;
}

/** Gives each row of cells the largest rooms of itself and its next neighbours along y and z. */
void RotatedSearch::poolRooms()
{
    using F = Lanes::F;
    const int ny = region_.cells(1);
    const int nz = region_.cells(2);
    for (int ix = 0; ix < region_.cells(0); ix += Lanes::width) {
        for (int iz = 0; iz < nz; ++iz) {
            for (int iy = 0; iy < ny; ++iy) {
                const int toNextY = iy + 1 < ny ? CellRooms::rowLength : 0;
                const int toNextZ = iz + 1 < nz ? CellRooms::rowLength * ny : 0;
                float* const row = rooms_.room + (iz * ny + iy) * CellRooms::rowLength + ix;
                const F here = Lanes::max(Lanes::load(row), Lanes::load(row + toNextY));
                const F above =
                    Lanes::max(Lanes::load(row + toNextZ), Lanes::load(row + toNextZ + toNextY));
                Lanes::store(row, Lanes::max(here, above));
            }
        }
    }
    for (int row = 0; row < ny * nz; ++row) {
        rooms_.room[row * CellRooms::rowLength + region_.cells(0)] = 0; // read with the last cell
    }
}

/** Sets doseError_ from the largest room of the region; false if doses are too large. */
bool RotatedSearch::setDoseError()
{
    float perRoom = 0;
    for (int a = 0; a < 3; ++a) {
        const float width = static_cast<float>(region_.cells(a)) * points_.evaluation.h[a];
        const float position =
            __builtin_fabsf(origin_[a]) + __builtin_fabsf(points_.evaluation.x0[a]) + points_.reach;
        const float here = (width + position) / points_.halfExtent[a];
        perRoom = here > perRoom ? here : perRoom;
    }
    // Some 20 roundings of the largest dose, and of the positions times the slopes.
    const float magnitude = __builtin_fabsf(sampleDose_) + perRoom * mostRoom_;
    doseError_ = magnitude * 0x1p-19F;
    return magnitude < 1e15F;
}

/** How much the doses of groups can differ from those at their centres. */
Lanes::F RotatedSearch::roomOf(std::size_t group) const
{
    using F = Lanes::F;
    const F extent = Lanes::load(points_.extent.data() + group);
    const F error = Lanes::all(doseError_);
    if (!fits_) {
        return error + extent * Lanes::all(mostRoom_);
    }
    Lanes::I cell[3];
    for (int a = 0; a < 3; ++a) {
        const F corner = Lanes::load(points_.corner[a].data() + group);
        const F centred = (corner + Lanes::all(shift_[a])) * Lanes::all(perVoxel_[a]) -
                          Lanes::all(0.5F + static_cast<float>(region_.first[a]));
        const F last = Lanes::all(static_cast<float>(region_.cells(a) - 1));
        cell[a] = Lanes::truncated(Lanes::min(Lanes::max(centred, Lanes::all(0)), last));
    }
    const int ny = region_.cells(1);
    const Lanes::I row = Lanes::sum(cell[1], Lanes::times(cell[2], ny));
    F low;
    F high;
    Lanes::gatherPairs(rooms_.room, Lanes::sum(cell[0], Lanes::times(row, CellRooms::rowLength)),
                       low, high);
    return error + extent * Lanes::max(low, high);
}

/** Interpolated doses at positions (mm from the sample point), up to doseError_. */
Lanes::F RotatedSearch::doses(const Lanes::F (&position)[3]) const
{
    using F = Lanes::F;
    const int* const n = points_.evaluation.n;
    Lanes::I cell[3];
    F fraction[3];
    for (int a = 0; a < 3; ++a) {
        const F centred =
            (position[a] + Lanes::all(shift_[a])) * Lanes::all(perVoxel_[a]) - Lanes::all(0.5F);
        const F low = Lanes::whole(centred);
        fraction[a] = centred - low;
        cell[a] = Lanes::truncated(centred);
    }
    const int right = n[0];
    const int back = n[0] * n[1];
    const Lanes::I at =
        Lanes::sum(cell[0], Lanes::sum(Lanes::times(cell[1], right), Lanes::times(cell[2], back)));
    const float* const map = points_.evaluation.map;
    const auto along = [&](F low, F high, int axis) { return low + (high - low) * fraction[axis]; };
    const auto alongX = [&](const float* from) {
        F low;
        F high;
        Lanes::gatherPairs(from, at, low, high);
        return along(low, high, 0);
    };
    const F c0 = along(alongX(map), alongX(map + right), 1);
    const F c1 = along(alongX(map + back), alongX(map + back + right), 1);
    return along(c0, c1, 2);
}

/** Goes through the groups, nearest first, and searches those that the dose bound leaves. */
void RotatedSearch::searchGroups()
{
    using F = Lanes::F;
    const F zero = Lanes::all(0);
    const float perMm2 = perMm_ * perMm_;
    for (std::int32_t g = 0; g < points_.groupCount; g += Lanes::width) {
        const auto at = static_cast<std::size_t>(g);
        if (points_.nearest[at] * perMm2 > threshold() || settled()) {
            return;
        }
        const F centre[3] = {Lanes::load(points_.centre[0].data() + at),
                             Lanes::load(points_.centre[1].data() + at),
                             Lanes::load(points_.centre[2].data() + at)};
        const F room = roomOf(at);
        const F difference = doses(centre) - Lanes::all(referenceDose_);
        const F away = Lanes::max(difference, zero - difference) - room;
        const F u = Lanes::max(away, zero) * Lanes::all(perGy_);
        const F bound = u * u + Lanes::load(points_.nearest.data() + at) * Lanes::all(perMm2);
        unsigned open = Lanes::notGreater(bound, Lanes::all(threshold()));
        const std::int32_t left = points_.groupCount - g;
        open &= left < Lanes::width ? (1U << left) - 1 : Lanes::everyLane;
        while (open != 0 && !settled()) {
            const int lane = __builtin_ctz(open);
            searchGroup(g + lane);
            open &= Lanes::notGreater(bound, Lanes::all(threshold())) & ~(1U << lane);
        }
    }
}

void RotatedSearch::searchGroup(std::int32_t group)
{
    using F = Lanes::F;
    const F zero = Lanes::all(0);
    for (int part = 0; part < RotatedPoints::groupSize; part += Lanes::width) {
        const std::int32_t first = group * RotatedPoints::groupSize + part;
        const auto at = static_cast<std::size_t>(first);
        const F p[3] = {Lanes::load(points_.point[0].data() + at),
                        Lanes::load(points_.point[1].data() + at),
                        Lanes::load(points_.point[2].data() + at)};
        const F difference = doses(p) - Lanes::all(referenceDose_);
        const F away = Lanes::max(difference, zero - difference) - Lanes::all(doseError_);
        const F u = Lanes::max(away, zero) * Lanes::all(perGy_);
        const F r2 = squaredDistance(p[0], p[1], p[2]);
        const F f = u * u + r2 * Lanes::all(perMm_ * perMm_);
        unsigned open = Lanes::notGreater(f, Lanes::all(threshold()));
        alignas(64) float values[RotatedPoints::groupSize];
        Lanes::store(values, f);
        while (open != 0) {
            const int lane = leastLane(values, open);
            const std::size_t point = at + static_cast<std::size_t>(lane);
            consider({points_.point[0][point], points_.point[1][point], points_.point[2][point]});
            open &= Lanes::notGreater(f, Lanes::all(threshold())) & ~(1U << lane);
        }
    }
}

/** Takes one point into account, in the specified order of operations. */
void RotatedSearch::consider(const float (&sphPos)[3])
{
    AxisPoint axis[3];
    for (int a = 0; a < 3; ++a) {
        axis[a] = locate(origin_[a] + sphPos[a], points_.evaluation.x0[a], points_.evaluation.h[a],
                         points_.evaluation.n[a], Reader::trilinear);
    }
    const float dose = doseAtPoint(points_.evaluation.map, points_.evaluation.n, axis[0], axis[1],
                                   axis[2], Reader::trilinear);
    const float r2 = squaredDistance(sphPos[0], sphPos[1], sphPos[2]);
    const float DDterm = dose - referenceDose_;
    const float Gammasq = gammaSquared(DDterm, delta_, distanceTerm(r2, points_.dta));
    if (Gammasq < best_ || (Gammasq == best_ && r2 < bestDistanceSquared_)) {
        best_ = Gammasq;
        bestDistanceSquared_ = r2;
    }
}

} // namespace

#endif
