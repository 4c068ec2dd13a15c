/**
 * @file cellDoses.h
 * The cells of a chunk: where they lie, and which doses they have.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_CELLDOSES_H
#define ZARNGI_LATTICE_STAGES_CELLDOSES_H

#include <cstdint>

#include "gridAxis.h"
#include "lanes/lanes.h"
#include "lattice/pass.h"
#include "lattice/scratch.h"
#include "lattice/stages/cellEdges.h"
#include "lattice/stages/cellNumbers.h"
#include "lattice/stages/points.h"
#include "lattice/stages/voxelTable.h"

namespace zarngi::engine
{

namespace
{

/** Where a cell lies in each lane. */
struct CellPlace {
    Lanes::I voxel;
    Lanes::I cell[2];   ///< number along x and y
    Lanes::I alongZ;    ///< place among those taken up
    Lanes::F start[2];  ///< steps
    Lanes::F offset[3]; ///< as in CellList
};

/** Doses in a cell in each lane, as in CellList. */
struct CellDoses {
    Lanes::F term[8];
    Lanes::F error;
    Lanes::F planeError;
};

/** The cells of a chunk, as their numbers tell them. */
class ChunkCells
{
public:
    ChunkCells(const SearchPass& pass, const VoxelTable& voxels) : pass_(pass), voxels_(voxels) {}

    /** Takes up the cells from those numbers on along x and y; false if those along z are the same.
     */
    bool takeUp(std::int32_t firstX, std::int32_t firstY, BorrowedList<CellRun> alongZ);
    /** Forgets those along z. */
    void forget() { runsAlongZ_ = {}; }

    /** Where the cells of some numbers lie. */
    [[nodiscard]] CellPlace placeOf(Lanes::I numbers) const;
    [[nodiscard]] CellDoses dosesIn(const CellPlace& place) const;

    // The ends of the cells along z.
    [[nodiscard]] Lanes::F firstAlongZ(Lanes::I places) const
    {
        return Lanes::spread(runFirst_, places);
    }
    [[nodiscard]] Lanes::F lastAlongZ(Lanes::I places) const
    {
        return Lanes::spread(runLast_, places);
    }

private:
    using F = Lanes::F;
    static constexpr int runsAtOnce = CellNumbers::runsAtOnce;

    const SearchPass& pass_;
    const VoxelTable& voxels_;
    std::int32_t firstCell_[2] = {};
    BorrowedList<CellRun> runsAlongZ_;
    alignas(64) float runFirst_[runsAtOnce];
    alignas(64) float runLast_[runsAtOnce];
    alignas(64) float runOffset_[runsAtOnce];
    alignas(64) float runDeviation_[runsAtOnce];
    alignas(64) int runVoxel_[runsAtOnce]; ///< the lower corner of the run's first cell
    int upwards_ = 0;                      ///< voxels from the lower to the upper corners of a cell
};

bool ChunkCells::takeUp(std::int32_t firstX, std::int32_t firstY, BorrowedList<CellRun> alongZ)
{
    firstCell_[0] = firstX;
    firstCell_[1] = firstY;
    if (runsAlongZ_.items == alongZ.items) {
        return false;
    }
    runsAlongZ_ = alongZ;
    const CellRun& first = alongZ.items[0];
    upwards_ = voxelIndex(pass_.evaluation.n, 0, 0, first.upper - first.lower);
    for (int r = 0; r < alongZ.count; ++r) {
        const CellRun& run = alongZ.items[r];
        runFirst_[r] = static_cast<float>(run.first);
        runLast_[r] = static_cast<float>(run.last);
        runOffset_[r] = run.offset - 0.5F;
        runDeviation_[r] = run.deviation;
        runVoxel_[r] = voxelIndex(pass_.evaluation.n, 0, 0, run.lower);
    }
    return true;
}

inline CellPlace ChunkCells::placeOf(Lanes::I numbers) const
{
    const CellNumbers::Places places = CellNumbers::places(numbers);
    CellPlace place;
    place.voxel = CellNumbers::voxels(numbers);
    place.alongZ = places.alongZ;
    for (int a = 0; a < 2; ++a) {
        place.cell[a] = Lanes::sum(places.cell[a], Lanes::allIndices(firstCell_[a]));
        place.start[a] = edgeOf(pass_, a, Lanes::spread(voxels_.cellStart[a], place.voxel),
                                Lanes::asFloats(place.cell[a]));
        place.offset[a] = Lanes::all(-0.5F) - place.start[a] * Lanes::all(pass_.cells.perStep[a]);
    }
    place.offset[2] = Lanes::spread(runOffset_, place.alongZ);
    return place;
}

/** The doses of cells as trilinear functions, and the errors of those. */
inline CellDoses ChunkCells::dosesIn(const CellPlace& place) const
{
    const int* const n = pass_.evaluation.n;
    const F half = Lanes::all(0.5F);
    const Lanes::I corners =
        Lanes::sum(Lanes::sum(place.cell[0], Lanes::times(place.cell[1], n[0])),
                   Lanes::spreadIndices(runVoxel_, place.alongZ));
    const F deviation = Lanes::spread(runDeviation_, place.alongZ);
    const F referenceDose = Lanes::spread(voxels_.referenceDose, place.voxel);
    const F scale = Lanes::spread(voxels_.scale, place.voxel);
    CellDoses doses;
    F(&u)[8] = doses.term;
    for (int c = 0; c < 8; c += 2) {
        const int up = (c & 4) != 0 ? upwards_ : 0;
        const int back = (c & 2) != 0 && n[1] > 1 ? n[0] : 0;
        gatherRow(n, pass_.evaluation.map + (up + back), corners, u[c], u[c + 1]);
    }
    for (F& corner : u) {
        corner = (corner - referenceDose) * scale;
    }
    // Means and rises along x, y and z in turn.
    for (int axis = 1; axis < 8; axis *= 2) {
        for (int c = 0; c < 8; ++c) {
            if ((c & axis) == 0) {
                const F mean = (u[c] + u[c + axis]) * half;
                u[c + axis] = u[c + axis] - u[c];
                u[c] = mean;
            }
        }
    }
    // Error of u on a column: the fractions are off by at most `deviation` in all, and the some 30
    // roundings of both computations act on values no larger than |u| and scale * |reference dose|.
    F range = absolute(u[1]) + absolute(u[2]) + absolute(u[4]);
    for (const int c : {3, 5, 6, 7}) {
        range = range + absolute(u[c]) * half;
    }
    const F magnitude = absolute(u[0]) + range * half + absolute(referenceDose) * scale;
    // Where squares of u might overflow, every point is evaluated.
    const F rounding =
        Lanes::select(Lanes::notGreater(magnitude, Lanes::all(1e15F)),
                      magnitude * Lanes::all(0x1p-19F), Lanes::all(__builtin_inff()));
    // Four roundings on either way from the position along x or y to the fraction.
    const F inPlane =
        Lanes::all(0x1p-22F * (static_cast<float>(n[0]) + static_cast<float>(n[1]) + 2));
    doses.error = Lanes::mulAdd(range, deviation + inPlane, rounding);
    // Four times the deviations of the straight lines also cover the roundings of the plane.
    const F ofLines = deviation + Lanes::all(pass_.cells.slack[0] * pass_.cells.perStep[0] +
                                             pass_.cells.slack[1] * pass_.cells.perStep[1]);
    doses.planeError = Lanes::mulAdd(range * Lanes::all(4), ofLines, rounding);
    return doses;
}

} // namespace

} // namespace zarngi::engine

#endif
