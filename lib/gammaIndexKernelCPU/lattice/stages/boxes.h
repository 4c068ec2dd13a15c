/**
 * @file boxes.h
 * The box of lattice points in a cell that can matter, by the plane through the doses of the cell.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_BOXES_H
#define ZARNGI_LATTICE_STAGES_BOXES_H

#include "gridAxis.h"
#include "lanes.h"
#include "lattice/intervals.h"
#include "lattice/pass.h"
#include "lattice/scratch.h"
#include "lattice/stages/cellEdges.h"
#include "lattice/stages/cellList.h"
#include "lattice/stages/columns.h"
#include "lattice/stages/points.h"
#include "lattice/stages/voxelTable.h"

namespace
{

/** Searches listed cells: finds which of their lattice points can matter, and searches those. */
class BoxSearch
{
public:
    BoxSearch(const SearchPass& pass, VoxelTable& voxels)
        : pass_(pass), voxels_(voxels), columns_(pass, voxels, cells_)
    {
        cells_.slope[0] = pass.cellsPerStep[0];
        cells_.slope[1] = pass.cellsPerStep[1];
    }

    /**
     * Takes up a chunk of cells, for the calls of add() that follow: cellsAtOnce from those numbers
     * on along x and y, and at most runsAtOnce along z.
     */
    void takeUp(std::int32_t firstX, std::int32_t firstY, Room<CellRun> alongZ);

    /**
     * The number of cells for add() is the sum of what their places in the chunk contribute: along
     * x and y with the ends that leave out a point, along x with the numbers of the voxels.
     */
    static Lanes::I alongX(Lanes::I places, OpenEnds open)
    {
        return Lanes::sum(Lanes::sum(Lanes::product<VoxelTable::maxCount>(places), Lanes::places()),
                          Lanes::sum(bits(open.first, 0), bits(open.last, 1)));
    }
    static Lanes::I alongY(int place, OpenEnds open)
    {
        return Lanes::sum(Lanes::allIndices(place * cellsAtOnce * VoxelTable::maxCount),
                          Lanes::sum(bits(open.first, 2), bits(open.last, 3)));
    }
    static Lanes::I alongZ(int place)
    {
        return Lanes::allIndices(place * cellsAtOnce * cellsAtOnce * VoxelTable::maxCount);
    }

    /** Makes room for cells: so many for each voxel, at most cellsAtOnce. */
    void makeRoom(int cells)
    {
        if (count_ + cells * VoxelTable::maxCount > maxListed) {
            searchListed();
        }
    }

    /**
     * Lists one cell for each of some voxels, by number. `bounds`: f of their points is not less.
     *
     * `count` is that of the listed cells and returned anew. (The caller keeps it in a register: as
     * a member it would be written and read again around the stores into the list.)
     */
    [[nodiscard]] int add(int count, unsigned voxels, Lanes::F bounds, Lanes::I numbers);

    [[nodiscard]] int count() const { return count_; }
    void setCount(int count) { count_ = count; }

    /** Searches the listed cells: before the voxels' chunk changes. */
    void searchListed();

    /** Searches the listed cells, and settles what they have left. */
    void finish();

    static constexpr int runsAtOnce = Lanes::width;
    static constexpr int cellsAtOnce = 64;

private:
    using F = Lanes::F;

    /** The numbers of cells are below the bits for their ends. */
    static constexpr int firstBit = 20;
    static_assert(runsAtOnce * cellsAtOnce * cellsAtOnce * VoxelTable::maxCount <= 1 << firstBit);

    /** A bit in some lanes. */
    static Lanes::I bits(unsigned lanes, int bit)
    {
        return Lanes::truncated(Lanes::select(
            lanes, Lanes::all(static_cast<float>(1 << (firstBit + bit))), Lanes::all(0)));
    }

    /** Where a cell lies in each lane. */
    struct Place {
        Lanes::I voxel;
        Lanes::I cell[2]; ///< number along x and y
        Lanes::I alongZ;  ///< place among those taken up
        F start[2];       ///< steps
        F offset[3];      ///< as in CellList
    };

    /** Doses in a cell in each lane, as in CellList. */
    struct Doses {
        F term[8];
        F error;
        F planeError;
    };

    /** A box of lattice points in each lane. */
    struct Box {
        F first[3];
        F last[3];
        F centre[3]; ///< where the plane is lowest, in the box or not
    };

    /** u = atOrigin + the sum of perStep[a] times the lattice index on axis a, give or take error.
     */
    struct Plane {
        F atOrigin;
        F perStep[3];
        F error;
    };

    /** What points must not exceed to matter. */
    struct Limits {
        F threshold;
        F root;           ///< of the threshold
        F squaredRise[3]; ///< of the plane, per step
        F steepness;      ///< their sum
        F weightSquared;  ///< of the plane against the distance, 0 to 1
        F slack;          ///< steps: centres and widths are off by some roundings of their sizes
    };

    void searchBelow(const float* level);
    void searchCells(int* listed, int count);
    [[nodiscard]] Place placeOf(Lanes::I numbers) const;
    void addOpen(Lanes::I numbers, int count);
    void locate(int at);
    void shrinkAgain(int at);
    [[nodiscard]] Doses dosesIn(const Place& place) const;
    static void cutToBall(Box& box, F squaredRadius);
    [[nodiscard]] Plane planeIn(const Doses& doses, const F (&offset)[3], const Box& box) const;
    [[nodiscard]] Limits limitsOf(const Plane& plane, Lanes::I voxels) const;
    [[nodiscard]] unsigned cutToParaboloid(Box& box, const Plane& plane,
                                           const Limits& limits) const;
    static void cutToPlane(Box& box, const Plane& plane, const Limits& limits);
    [[nodiscard]] unsigned shrink(Box& box, const Doses& doses, const F (&offset)[3],
                                  Lanes::I voxels) const;

    /** Raises the threshold of the plane's paraboloid by the rounding of both: 256 roundings. */
    static constexpr float planeMargin = 1 + 0x1p-16F;

    static constexpr int atOnce = CellList::maxCount;
    static constexpr int maxListed = 2 * cellsAtOnce * VoxelTable::maxCount;

    const SearchPass& pass_;
    VoxelTable& voxels_;
    CellList cells_;
    ColumnSearch columns_;

    // The chunk taken up.
    std::int32_t firstCell_[2] = {};
    Room<CellRun> runsAlongZ_;
    alignas(64) float runFirst_[runsAtOnce];
    alignas(64) float runLast_[runsAtOnce];
    alignas(64) float runOffset_[runsAtOnce];
    alignas(64) float runDeviation_[runsAtOnce];
    alignas(64) int runVoxel_[runsAtOnce]; ///< the lower corner of the run's first cell
    int upwards_ = 0;                      ///< voxels from the lower to the upper corners of a cell

    int count_ = 0;
    alignas(64) int listed_[maxListed + Lanes::width]; ///< z, y, x and voxel in one number
    alignas(64) float bound_[maxListed + Lanes::width];
    alignas(64) int chosen_[atOnce + Lanes::width];
};

void BoxSearch::takeUp(std::int32_t firstX, std::int32_t firstY, Room<CellRun> alongZ)
{
    searchListed();
    firstCell_[0] = firstX;
    firstCell_[1] = firstY;
    if (runsAlongZ_.items == alongZ.items) {
        return;
    }
    runsAlongZ_ = alongZ;
    const CellRun& first = alongZ.items[0];
    upwards_ = voxelIndex(pass_.evaluation.n, 0, 0, first.upper - first.lower);
    cells_.slope[2] = first.slope;
    cells_.runsAlongZ = alongZ.items;
    for (int r = 0; r < alongZ.count; ++r) {
        const CellRun& run = alongZ.items[r];
        runFirst_[r] = static_cast<float>(run.first);
        runLast_[r] = static_cast<float>(run.last);
        runOffset_[r] = run.offset - 0.5F;
        runDeviation_[r] = run.deviation;
        runVoxel_[r] = voxelIndex(pass_.evaluation.n, 0, 0, run.lower);
    }
}

inline int BoxSearch::add(int count, unsigned voxels, Lanes::F bounds, Lanes::I numbers)
{
    Lanes::storeChosen(listed_ + count, voxels, numbers);
    Lanes::storeChosen(bound_ + count, voxels, bounds);
    return count + __builtin_popcount(voxels);
}

void BoxSearch::finish()
{
    searchListed();
    columns_.finish();
    runsAlongZ_ = {};
}

/**
 * Searches the listed cells; where they are many, those with the least bounds first: what these
 * hold lowers the thresholds, and most of the others need not be looked at then.
 */
void BoxSearch::searchListed()
{
    constexpr int many = 12; // cells of a voxel
    if (count_ <= many * voxels_.count) {
        for (int at = 0; at < count_; at += atOnce) {
            searchCells(listed_ + at, smaller(count_ - at, atOnce));
        }
        count_ = 0;
        return;
    }
    for (const float share : {0.02F, 0.08F, 0.32F, 1.0F}) {
        alignas(64) float level[VoxelTable::maxCount];
        const F least = Lanes::load(voxels_.leastBound);
        const F range = Lanes::load(voxels_.threshold) - least;
        Lanes::store(level,
                     share < 1 ? least + range * Lanes::all(share) : Lanes::all(__builtin_inff()));
        searchBelow(level);
    }
}

/** Searches the listed cells whose bounds are not above the level of their voxel. */
void BoxSearch::searchBelow(const float* level)
{
    const int count = count_;
    count_ = 0;
    int chosen = 0;
    for (int at = 0; at < count; at += Lanes::width) {
        const Lanes::I listed = Lanes::loadIndices(listed_ + at);
        const F bound = Lanes::load(bound_ + at);
        const Lanes::I voxels = Lanes::remainder<VoxelTable::maxCount>(listed);
        const unsigned open =
            Lanes::notGreater(bound, Lanes::spread(voxels_.threshold, voxels)) &
            (Lanes::everyLane >> (Lanes::width - smaller(count - at, Lanes::width)));
        const unsigned below = open & Lanes::notGreater(bound, Lanes::spread(level, voxels));
        Lanes::storeChosen(chosen_ + chosen, below, listed);
        chosen += __builtin_popcount(below);
        Lanes::storeChosen(listed_ + count_, open & ~below, listed);
        Lanes::storeChosen(bound_ + count_, open & ~below, bound);
        count_ += __builtin_popcount(open & ~below);
        if (chosen >= atOnce) {
            searchCells(chosen_, atOnce);
            chosen -= atOnce;
            Lanes::storeIndices(chosen_, Lanes::loadIndices(chosen_ + atOnce));
        }
    }
    if (chosen > 0) {
        searchCells(chosen_, chosen);
    }
}

/**
 * Finds which lattice points of some listed cells can matter, and searches them. (The rest of the
 * last vector behind them is overwritten.)
 *
 * Each round replaces the doses in a box of points by a plane, and takes the smaller box around the
 * points that can matter for the next round: the error of the plane shrinks with the box. The first
 * round leaves a third of the cells; these are put side by side for the second. Before it one
 * column of each lowers the thresholds.
 */
void BoxSearch::searchCells(int* listed, int count)
{
    for (int at = count; at % Lanes::width != 0; ++at) {
        listed[at] = listed[0];
    }
    cells_.count = 0;
    for (int at = 0; at < count; at += Lanes::width) {
        addOpen(Lanes::loadIndices(listed + at), smaller(count - at, Lanes::width));
    }
    for (int at = 0; at < cells_.count; at += Lanes::width) {
        locate(at);
    }
    if (pass_.edgesAreKnown) {
        columns_.probe();
    }
    for (int at = 0; at < cells_.count; at += Lanes::width) {
        shrinkAgain(at);
    }
    columns_.search();
}

/** Where the cells of some numbers lie. */
inline BoxSearch::Place BoxSearch::placeOf(Lanes::I numbers) const
{
    Place place;
    place.voxel = Lanes::remainder<VoxelTable::maxCount>(numbers);
    const Lanes::I cells = Lanes::quotient<VoxelTable::maxCount>(numbers);
    const Lanes::I rows = Lanes::quotient<cellsAtOnce>(cells);
    place.cell[0] = Lanes::remainder<cellsAtOnce>(cells);
    place.cell[1] = Lanes::remainder<cellsAtOnce>(rows);
    place.alongZ = Lanes::remainder<runsAtOnce>(Lanes::quotient<cellsAtOnce>(rows));
    for (int a = 0; a < 2; ++a) {
        place.cell[a] = Lanes::sum(place.cell[a], Lanes::allIndices(firstCell_[a]));
        place.start[a] = edgeOf(pass_, a, Lanes::spread(voxels_.cellStart[a], place.voxel),
                                Lanes::asFloats(place.cell[a]));
        place.offset[a] = Lanes::all(-0.5F) - place.start[a] * Lanes::all(pass_.cellsPerStep[a]);
    }
    place.offset[2] = Lanes::spread(runOffset_, place.alongZ);
    return place;
}

/** Adds those of the first so many cells of a vector to the list that the first round leaves. */
void BoxSearch::addOpen(Lanes::I numbers, int count)
{
    const Place place = placeOf(numbers);
    Box box;
    for (int a = 0; a < 2; ++a) {
        const F next = Lanes::asFloats(place.cell[a]) + Lanes::all(1);
        const CellPoints points =
            pointsBetween(pass_, a, place.start[a],
                          edgeOf(pass_, a, Lanes::spread(voxels_.cellStart[a], place.voxel), next),
                          {Lanes::hasBit(numbers, firstBit + 2 * a),
                           Lanes::hasBit(numbers, firstBit + 2 * a + 1)});
        box.first[a] = points.first;
        box.last[a] = points.last;
    }
    box.first[2] = Lanes::spread(runFirst_, place.alongZ);
    box.last[2] = Lanes::spread(runLast_, place.alongZ);
    for (int a = 0; a < 3; ++a) {
        box.first[a] = Lanes::max(box.first[a], Lanes::spread(voxels_.low[a], place.voxel));
        box.last[a] = Lanes::min(box.last[a], Lanes::spread(voxels_.high[a], place.voxel));
    }
    cutToBall(
        box, Lanes::min(Lanes::spread(voxels_.threshold, place.voxel), Lanes::all(pass_.outerRim)));
    const Doses doses = dosesIn(place);
    const unsigned open = shrink(box, doses, place.offset, place.voxel) &
                          (Lanes::everyLane >> (Lanes::width - count));
    if (open == 0) {
        return;
    }
    const int at = cells_.count;
    Lanes::storeChosen(cells_.number + at, open, numbers);
    for (int c = 0; c < 8; ++c) {
        Lanes::storeChosen(cells_.term[c] + at, open, doses.term[c]);
    }
    Lanes::storeChosen(cells_.error + at, open, doses.error);
    Lanes::storeChosen(cells_.planeError + at, open, doses.planeError);
    for (int a = 0; a < 3; ++a) {
        Lanes::storeChosen(cells_.first[a] + at, open, box.first[a]);
        Lanes::storeChosen(cells_.last[a] + at, open, box.last[a]);
    }
    for (int a = 0; a < 2; ++a) {
        Lanes::storeChosen(cells_.centre[a] + at, open, box.centre[a]);
    }
    cells_.count += __builtin_popcount(open);
}

/** Adds where the cells of a vector of the list lie. */
void BoxSearch::locate(int at)
{
    const int count = smaller(cells_.count - at, Lanes::width);
    for (int c = at + count; c < at + Lanes::width; ++c) {
        cells_.number[c] = cells_.number[at];
    }
    cells_.open[at / Lanes::width] = Lanes::everyLane >> (Lanes::width - count);
    const Place place = placeOf(Lanes::loadIndices(cells_.number + at));
    for (int a = 0; a < 3; ++a) {
        Lanes::store(cells_.offset[a] + at, place.offset[a]);
    }
    for (int a = 0; a < 2; ++a) {
        Lanes::store(cells_.origin[a] + at, Lanes::spread(voxels_.origin[a], place.voxel));
        Lanes::store(cells_.middle[a] + at, Lanes::all(-1) - Lanes::asFloats(place.cell[a]));
    }
    Lanes::storeIndices(cells_.voxel + at, place.voxel);
    Lanes::storeIndices(cells_.alongZ + at, place.alongZ);
}

/** Shrinks the boxes of a vector of the list once more. */
void BoxSearch::shrinkAgain(int at)
{
    Doses doses;
    for (int c = 0; c < 8; ++c) {
        doses.term[c] = Lanes::load(cells_.term[c] + at);
    }
    doses.error = Lanes::load(cells_.error + at);
    doses.planeError = Lanes::load(cells_.planeError + at);
    Box box;
    F offset[3];
    for (int a = 0; a < 3; ++a) {
        box.first[a] = Lanes::load(cells_.first[a] + at);
        box.last[a] = Lanes::load(cells_.last[a] + at);
        offset[a] = Lanes::load(cells_.offset[a] + at);
    }
    cells_.open[at / Lanes::width] &=
        shrink(box, doses, offset, Lanes::loadIndices(cells_.voxel + at));
    for (int a = 0; a < 3; ++a) {
        Lanes::store(cells_.first[a] + at, box.first[a]);
        Lanes::store(cells_.last[a] + at, box.last[a]);
    }
}

/** The doses of cells as trilinear functions, and the errors of those. */
inline BoxSearch::Doses BoxSearch::dosesIn(const Place& place) const
{
    const int* const n = pass_.evaluation.n;
    const F half = Lanes::all(0.5F);
    const Lanes::I corners =
        Lanes::sum(Lanes::sum(place.cell[0], Lanes::times(place.cell[1], n[0])),
                   Lanes::spreadIndices(runVoxel_, place.alongZ));
    const F deviation = Lanes::spread(runDeviation_, place.alongZ);
    const F referenceDose = Lanes::spread(voxels_.referenceDose, place.voxel);
    const F scale = Lanes::spread(voxels_.scale, place.voxel);
    Doses doses;
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
    const F ofLines = deviation + Lanes::all(pass_.cellSlack[0] * pass_.cellsPerStep[0] +
                                             pass_.cellSlack[1] * pass_.cellsPerStep[1]);
    doses.planeError = Lanes::mulAdd(range * Lanes::all(4), ofLines, rounding);
    return doses;
}

/** Cuts a box to the part within a squared distance of the origin. */
void BoxSearch::cutToBall(Box& box, F squaredRadius)
{
    const F zero = Lanes::all(0);
    F nearest[3];
    for (int a = 0; a < 3; ++a) {
        const F distance = Lanes::max(Lanes::max(box.first[a], zero - box.last[a]), zero);
        nearest[a] = distance * distance;
    }
    for (int a = 0; a < 3; ++a) {
        const F room = squaredRadius - nearest[(a + 1) % 3] - nearest[(a + 2) % 3];
        // One hundredth, and the roundings of large squares.
        const F reach =
            rootFromAbove(Lanes::max(room, zero) + squaredRadius * Lanes::all(0x1p-20F)) +
            Lanes::all(0.01F);
        // max and min give their second operand if the first one is not a number.
        box.first[a] = Lanes::max(zero - reach, box.first[a]);
        box.last[a] = Lanes::min(reach, box.last[a]);
    }
}

/**
 * The plane through the doses in the middle of a box.
 *
 * With the fractions s from the middle, of at most h on each axis, u = plane + XY sx sy + XZ sx sz
 * + YZ sy sz + XYZ sx sy sz, where the plane is that of the dose and the rises in the middle. So u
 * differs from it by at most twist = |XY| hx hy + |XZ| hx hz + |YZ| hy hz + |XYZ| hx hy hz.
 */
inline BoxSearch::Plane BoxSearch::planeIn(const Doses& doses, const F (&offset)[3],
                                           const Box& box) const
{
    const F(&t)[8] = doses.term;
    const F half = Lanes::all(0.5F);
    F middle[3];
    F s[3]; // fractions of the middle
    F h[3];
    for (int a = 0; a < 3; ++a) {
        const F slope = Lanes::all(cells_.slope[a]);
        middle[a] = (box.first[a] + box.last[a]) * half;
        s[a] = Lanes::mulAdd(slope, middle[a], offset[a]);
        h[a] = (box.last[a] - box.first[a]) * half * slope;
    }
    const F xy = Lanes::mulAdd(t[7], s[2], t[3]);
    const F xz = Lanes::mulAdd(t[7], s[1], t[5]);
    const F yz = Lanes::mulAdd(t[7], s[0], t[6]);
    const F y = Lanes::mulAdd(t[6], s[2], t[2]);
    const F rise[3] = {Lanes::mulAdd(xy, s[1], Lanes::mulAdd(t[5], s[2], t[1])),
                       Lanes::mulAdd(xy, s[0], y),
                       Lanes::mulAdd(yz, s[1], Lanes::mulAdd(t[5], s[0], t[4]))};
    const F hxy = h[0] * h[1];
    const F perHz = Lanes::mulAdd(absolute(xz), h[0], absolute(yz) * h[1]);
    const F twist =
        Lanes::mulAdd(Lanes::mulAdd(absolute(t[7]), hxy, perHz), h[2], absolute(xy) * hxy);
    Plane plane;
    plane.error = doses.planeError + twist;
    plane.atOrigin =
        Lanes::mulAdd(rise[0], s[0], Lanes::mulAdd(y, s[1], Lanes::mulAdd(t[4], s[2], t[0])));
    for (int a = 0; a < 3; ++a) {
        plane.perStep[a] = rise[a] * Lanes::all(cells_.slope[a]);
        plane.atOrigin = Lanes::mulSub(plane.perStep[a], middle[a], plane.atOrigin);
    }
    return plane;
}

/** What points of some voxels must not exceed to matter, where u is near a plane. */
inline BoxSearch::Limits BoxSearch::limitsOf(const Plane& plane, Lanes::I voxels) const
{
    Limits limits;
    limits.threshold = Lanes::spread(voxels_.threshold, voxels);
    limits.root = Lanes::spread(voxels_.root, voxels);
    for (int a = 0; a < 3; ++a) {
        limits.squaredRise[a] = plane.perStep[a] * plane.perStep[a];
    }
    limits.steepness = limits.squaredRise[0] + limits.squaredRise[1] + limits.squaredRise[2];
    const F beyond = Lanes::max((limits.threshold - Lanes::all(pass_.outerRim)) * limits.steepness,
                                Lanes::all(1e-30F));
    limits.weightSquared =
        Lanes::min(Lanes::all(pass_.outerRoot) * Lanes::roughInverseRoot(beyond), Lanes::all(1));
    limits.slack = Lanes::mulAdd(plane.error + limits.root, Lanes::all(0x1p-18F),
                                 Lanes::all(0.01F + 0x1p-18F * pass_.outerRoot));
    return limits;
}

/**
 * Cuts boxes to where the plane can come low enough; returns the lanes in which something is left.
 *
 * Let T be the threshold, e the error of the plane in all, and |P| its value. Points that matter
 * have |P| <= sqrt(T - r^2) + e and, as all points of the shells, r^2 <= outer. So for any weight
 * from 0 to 1
 *
 *     weight^2 P^2 + r^2 <= weight^2 (T + e (2 sqrt(T) + e)) + (1 - weight^2) outer
 *
 * The left side is a paraboloid over (i, j, k): its part below a value is an ellipsoid. It also
 * lies in a ball around the ellipsoid's centre c = -towards * slopes, where e counts less:
 *
 *     |p - c|^2 <= weight^2 T + (1 - weight^2) outer + 2 |towards| e - atOrigin * towards
 *
 * What the ball leaves on an axis shrinks with the distances of the box from c on the others.
 */
inline unsigned BoxSearch::cutToParaboloid(Box& box, const Plane& plane, const Limits& limits) const
{
    const F zero = Lanes::all(0);
    const F one = Lanes::all(1);
    const F outer = Lanes::all(pass_.outerRim);
    const F weightSquared = limits.weightSquared;
    const F e = plane.error;
    const F perSteepness = inverse(Lanes::mulAdd(limits.steepness, weightSquared, one));
    const F towards = plane.atOrigin * weightSquared * perSteepness;
    const F raised = Lanes::mulAdd(limits.threshold, weightSquared,
                                   (Lanes::all(1 + 0x1p-20F) - weightSquared) * outer);
    const F raisedError = e * Lanes::all(planeMargin);
    const F excess = Lanes::mulSub(plane.atOrigin, towards, raised * Lanes::all(planeMargin));
    const F inBall = Lanes::mulAdd(absolute(towards), raisedError + raisedError, excess);
    const F inEllipsoid =
        Lanes::mulAdd(weightSquared * raisedError, limits.root + limits.root + e, excess);
    F(&centre)[3] = box.centre;
    F nearest[3];
    F room = inBall;
    for (int a = 0; a < 3; ++a) {
        centre[a] = zero - towards * plane.perStep[a];
        const F outside =
            Lanes::max(Lanes::max(box.first[a] - centre[a], centre[a] - box.last[a]), zero);
        nearest[a] = outside * outside;
        room = room - nearest[a];
    }
    const F perExcess = Lanes::max(inEllipsoid, zero) * perSteepness;
    for (int a = 0; a < 3; ++a) {
        const F(&squaredRise)[3] = limits.squaredRise;
        const F across =
            Lanes::mulAdd(squaredRise[(a + 1) % 3] + squaredRise[(a + 2) % 3], weightSquared, one);
        const F squared = Lanes::min(perExcess * across, Lanes::max(room, zero) + nearest[a]);
        const F width = rootFromAbove(squared) + limits.slack;
        // max and min give their second operand if the first one is not a number.
        box.first[a] = Lanes::max(centre[a] - width, box.first[a]);
        box.last[a] = Lanes::min(centre[a] + width, box.last[a]);
    }
    return Lanes::notGreater(zero, room) & Lanes::notGreater(zero, inEllipsoid);
}

/**
 * Cuts boxes to where the plane comes as low as sqrt(T - r^2) + e, r being that of the point of the
 * box nearest to the origin.
 *
 * With the plane's value and half widths h at the middle, |value + the sum of rise[a] d[a]| may
 * be at most that; as |d| <= h, on axis a only |d[a] + value / rise[a]| <= (that + the sum of
 * |rise| h) / |rise[a]| - h[a] is left.
 */
inline void BoxSearch::cutToPlane(Box& box, const Plane& plane, const Limits& limits)
{
    const F zero = Lanes::all(0);
    F value = plane.atOrigin;
    F sum = plane.error;
    F room = limits.threshold * Lanes::all(1 + 0x1p-20F);
    F half[3];
    F middle[3];
    for (int a = 0; a < 3; ++a) {
        half[a] = (box.last[a] - box.first[a]) * Lanes::all(0.5F);
        middle[a] = box.first[a] + half[a];
        value = Lanes::mulAdd(plane.perStep[a], middle[a], value);
        sum = Lanes::mulAdd(absolute(plane.perStep[a]), half[a], sum);
        const F nearest = Lanes::max(Lanes::max(box.first[a], zero - box.last[a]), zero);
        room = Lanes::mulSub(nearest, nearest, room);
    }
    const F reach = (sum + Lanes::sqrt(Lanes::max(room, zero))) * Lanes::all(1 + 0x1p-18F);
    for (int a = 0; a < 3; ++a) {
        const F perRise = inverse(plane.perStep[a]);
        const F centre = Lanes::mulSub(value, perRise, middle[a]);
        const F width = Lanes::mulAdd(reach, absolute(perRise), limits.slack - half[a]);
        // max and min give their second operand if the first one is not a number.
        box.first[a] = Lanes::max(centre - width, box.first[a]);
        box.last[a] = Lanes::min(centre + width, box.last[a]);
    }
}

/** Shrinks boxes to what can matter; returns the lanes in which something is left. */
__attribute__((always_inline)) inline unsigned
BoxSearch::shrink(Box& box, const Doses& doses, const F (&offset)[3], Lanes::I voxels) const
{
    const F zero = Lanes::all(0);
    const Plane plane = planeIn(doses, offset, box);
    const Limits limits = limitsOf(plane, voxels);
    unsigned open = cutToParaboloid(box, plane, limits);
    // Where the rim of the shell ends the search, the plane may exclude much of the ball.
    const unsigned atRim = Lanes::notGreater(limits.weightSquared, Lanes::all(0.99F));
    if ((open & atRim) != 0) {
        cutToPlane(box, plane, limits);
    }
    for (int a = 0; a < 3; ++a) {
        box.first[a] = zero - Lanes::floor(zero - box.first[a]);
        box.last[a] = Lanes::floor(box.last[a]);
        open &= Lanes::notGreater(box.first[a], box.last[a]);
    }
    return open;
}

} // namespace

#endif
