/**
 * @file latticeCells.h
 * The lattice points between voxel centres, cell by cell of the evaluation grid.
 *
 * Part of latticeSearchPath.h.
 */
#ifndef ZARNGI_LATTICECELLS_H
#define ZARNGI_LATTICECELLS_H

#include "latticeSearchPath.h"

namespace
{

void VoxelSearch::findCellRuns(int axis)
{
    AxisWindow& window = scratch_.window[axis];
    window.runs.count = 0;
    const int n = pass_.evaluation.n[axis];
    const bool planar = axis == 2 && pass_.reader == Reader::bilinear;
    const float slope = n == 1 || planar ? 0.0F : pass_.stepSize / pass_.evaluation.h[axis];
    for (std::int32_t i = window.range.first; i <= window.range.last; ++i) {
        const std::int32_t at = i - window.range.first;
        AxisPoint p{Zone::centre, 0, window.lower[at], 0, window.fraction[at]};
        p.upper = p.lower + (n > 1 ? 1 : 0);
        if (planar) {
            p.lower = p.upper = nearestPlane(p);
            p.fraction = 0;
        }
        CellRun* const last = window.runs.items + window.runs.count - 1;
        if (window.runs.count == 0 || last->lower != p.lower) {
            const float offset = p.fraction - slope * static_cast<float>(i);
            window.runs.items[window.runs.count++] = {i, i, p.lower, p.upper, offset, slope, 0};
        }
        CellRun& run = window.runs.items[window.runs.count - 1];
        run.last = i;
        const float line = run.offset + slope * static_cast<float>(i);
        const float deviation = __builtin_fabsf(p.fraction - line);
        // Rounding of offset + slope * index itself, in whatever order it is summed up.
        const float rounding = 0x1p-22F * (1.0F + __builtin_fabsf(run.offset) +
                                           slope * __builtin_fabsf(static_cast<float>(i)));
        run.deviation = larger(run.deviation, deviation + rounding);
    }
}

void VoxelSearch::prepareWindow(int axis, LatticeInterval range)
{
    AxisWindow& window = scratch_.window[axis];
    window.range = range;
    window.referenceIndex = index_[axis];
    const float origin = sample_[axis]->position;
    const float x0 = pass_.evaluation.x0[axis];
    const float h = pass_.evaluation.h[axis];
    const int n = pass_.evaluation.n[axis];
    const float step = pass_.stepSize;
    const std::int32_t count = range.last - range.first + 1;
    std::int32_t* const lower = window.lower;
    float* const fraction = window.fraction;
    for (std::int32_t i = 0; i < count; ++i) {
        AxisPoint p{};
        const float position = origin + static_cast<float>(range.first + i) * step;
        setNeighbours(p, (position - x0) / h, n);
        lower[i] = p.lower;
        fraction[i] = p.fraction;
    }
}

Column VoxelSearch::columnAt(std::int32_t first, std::int32_t last) const
{
    using F = Lanes::F;
    Column column;
    column.first = first;
    const std::int32_t count = smaller(last - first + 1, Lanes::width);
    column.lanes = Lanes::everyLane >> (Lanes::width - count);
    const int n = pass_.evaluation.n[0];
    const F index = Lanes::counting(first);
    column.squared = index * index;
    // The same operations as setNeighbours, for all lanes at once.
    const F position = Lanes::all(sample_[0]->position) + index * Lanes::all(pass_.stepSize);
    const F centred =
        (position - Lanes::all(pass_.evaluation.x0[0])) / Lanes::all(pass_.evaluation.h[0]) -
        Lanes::all(0.5F);
    const F below = n == 1
                        ? Lanes::all(0)
                        : Lanes::min(Lanes::whole(centred), Lanes::all(static_cast<float>(n - 2)));
    column.fraction = n == 1 ? Lanes::all(0) : centred - below;
    const F relative = below - Lanes::all(below[0]);
    column.base = static_cast<std::int32_t>(below[0]);
    column.lower = Lanes::truncated(relative);
    column.upper = Lanes::truncated(relative + Lanes::all(n == 1 ? 0.0F : 1.0F));
    column.fits = relative[Lanes::width - 1] + 1 < static_cast<float>(Lanes::spreadRange);
    return column;
}

/** The lattice points between voxel centres on every axis. */
void VoxelSearch::searchInterpolated()
{
    for (int a = 0; a < 3; ++a) {
        range_[a] = common(sample_[a]->centre, reachOn(a));
        if (range_[a].empty()) {
            return;
        }
    }
    firstCellStart_ = static_cast<float>(
        (pass_.firstCentre - static_cast<double>(sample_[0]->position)) * pass_.stepsPerMm);
    for (Column& column : columns_) {
        column.lanes = 0;
    }
    const std::int32_t firstCell = cellOf(range_[0].first, -pass_.cellSlack);
    const std::int32_t lastCell = cellOf(range_[0].last, pass_.cellSlack);
    for (const CellRun& zCell : scratch_.window[2].runs) {
        const LatticeInterval z = common({zCell.first, zCell.last}, common(range_[2], reach_));
        if (z.empty()) {
            continue;
        }
        const Block block{nullptr, &zCell, {0, -1}, z, squareOf(nearestToZero(z))};
        for (std::int32_t cell = firstCell; cell <= lastCell; cell += Lanes::width) {
            if (block.nearestSquared > threshold_ || settled()) {
                break;
            }
            searchCells(block, cell, smaller(cell + Lanes::width - 1, lastCell));
        }
    }
}

/** Searches the cells of one plane of cells that the range of their doses does not exclude. */
void VoxelSearch::searchCells(const Block& plane, std::int32_t firstCell, std::int32_t lastCell)
{
    using F = Lanes::F;
    const int* const n = pass_.evaluation.n;
    const Room<CellRun>& yCells = scratch_.window[1].runs;
    const CellRun* begin = yCells.begin();
    const CellRun* end = yCells.end();
    const LatticeInterval yRange = common(range_[1], reach_);
    while (begin != end && begin->last < yRange.first) {
        ++begin;
    }
    while (begin != end && (end - 1)->first > yRange.last) {
        --end;
    }
    if (begin == end) {
        return;
    }
    // Least and largest dose of the four voxels around each cell in x and z, row by row.
    const std::int32_t firstRow = begin->lower;
    const std::int32_t lastRow = (end - 1)->upper;
    const int right = n[0] > 1 ? 1 : 0;
    const float* const lowerPlane =
        pass_.evaluation.map + voxelIndex(n, firstCell, 0, plane.zCell->lower);
    const float* const upperPlane =
        pass_.evaluation.map + voxelIndex(n, firstCell, 0, plane.zCell->upper);
    for (std::int32_t row = firstRow; row <= lastRow; ++row) {
        const float* const p = lowerPlane + n[0] * row;
        const float* const q = upperPlane + n[0] * row;
        const F a = Lanes::load(p);
        const F b = Lanes::load(p + right);
        const F c = Lanes::load(q);
        const F d = Lanes::load(q + right);
        const std::int32_t at = (row - firstRow) * Lanes::width;
        Lanes::store(scratch_.rows[0] + at, Lanes::min(Lanes::min(a, b), Lanes::min(c, d)));
        Lanes::store(scratch_.rows[1] + at, Lanes::max(Lanes::max(a, b), Lanes::max(c, d)));
    }
    const F zero = Lanes::all(0);
    const F start = Lanes::all(firstCellStart_) +
                    Lanes::counting(firstCell) * Lanes::all(pass_.cellWidth) -
                    Lanes::all(pass_.cellSlack);
    const F stop = start + Lanes::all(pass_.cellWidth + 2 * pass_.cellSlack);
    const F xNearest = Lanes::max(Lanes::max(start, zero - stop), zero);
    const F xSquared = xNearest * xNearest;
    const F referenceDose = Lanes::all(referenceDose_);
    const F scale = Lanes::all(scale_);
    const F slack = Lanes::all(0x1p-20F);
    const F slackOfReference = Lanes::all(0x1p-20F * __builtin_fabsf(referenceDose_));
    const unsigned cells = Lanes::everyLane >> (Lanes::width - (lastCell - firstCell + 1));
    for (const CellRun* yCell = begin; yCell != end; ++yCell) {
        Block block = plane;
        block.yCell = yCell;
        block.y = common({yCell->first, yCell->last}, common(range_[1], reach_));
        if (block.y.empty()) {
            continue;
        }
        block.nearestSquared += squareOf(nearestToZero(block.y));
        const std::int32_t lower = (yCell->lower - firstRow) * Lanes::width;
        const std::int32_t upper = (yCell->upper - firstRow) * Lanes::width;
        const F least = Lanes::min(Lanes::load(scratch_.rows[0] + lower),
                                   Lanes::load(scratch_.rows[0] + upper));
        const F most = Lanes::max(Lanes::load(scratch_.rows[1] + lower),
                                  Lanes::load(scratch_.rows[1] + upper));
        // An interpolated dose leaves the range of its corners by some roundings at most.
        const F rounding = Lanes::max(most, zero - least) * slack + slackOfReference;
        const F away = Lanes::max(least - referenceDose, referenceDose - most) - rounding;
        const F u = Lanes::max(away, zero) * scale;
        const F bound = u * u + (xSquared + Lanes::all(block.nearestSquared));
        const unsigned open = Lanes::notGreater(bound, Lanes::all(threshold_)) & cells;
        if (open != 0) {
            searchCellRow(block, firstCell, open);
            if (settled()) {
                return;
            }
        }
    }
}

/** The column of lanes with this number, counted from the start of the range along x. */
const Column& VoxelSearch::columnNumber(std::int32_t number)
{
    const std::int32_t first = range_[0].first + number * Lanes::width;
    Column& column = columns_[number % keptColumns];
    if (column.lanes == 0 || column.first != first) {
        column = columnAt(first, range_[0].last);
    }
    return column;
}

/** Searches the cells of a row along x whose bits are set, counted from firstCell. */
void VoxelSearch::searchCellRow(const Block& block, std::int32_t firstCell, unsigned open)
{
    const LatticeInterval whole = range_[0];
    if (whole.last - whole.first < Lanes::width) {
        searchBlock(block, columnNumber(0));
        return;
    }
    const int lowest = __builtin_ctz(open);
    const int highest = 31 - __builtin_clz(open);
    const float start = firstCellStart_ + static_cast<float>(firstCell + lowest) * pass_.cellWidth;
    const float stop =
        firstCellStart_ + static_cast<float>(firstCell + highest + 1) * pass_.cellWidth;
    const LatticeInterval wanted = common(whole, reach_);
    const auto low = static_cast<float>(wanted.first);
    const auto high = static_cast<float>(wanted.last);
    const auto first =
        static_cast<std::int32_t>(__builtin_ceilf(clamped(start - pass_.cellSlack, low, high)));
    const auto last =
        static_cast<std::int32_t>(__builtin_floorf(clamped(stop + pass_.cellSlack, low, high)));
    const std::int32_t lastNumber = (last - whole.first) / Lanes::width;
    for (std::int32_t number = (first - whole.first) / Lanes::width; number <= lastNumber;
         ++number) {
        if (settled()) {
            return;
        }
        searchBlock(block, columnNumber(number));
    }
}

void VoxelSearch::searchBlock(const Block& block, const Column& column)
{
    using F = Lanes::F;
    const int* const n = pass_.evaluation.n;
    const F zero = Lanes::all(0);
    const F one = Lanes::all(1);
    const F referenceDose = Lanes::all(referenceDose_);
    const F scale = Lanes::all(scale_);
    const auto differenceAt = [&](std::int32_t row, std::int32_t plane) {
        const float* const p = pass_.evaluation.map + voxelIndex(n, 0, row, plane);
        return (column.interpolated(p) - referenceDose) * scale;
    };
    const F u00 = differenceAt(block.yCell->lower, block.zCell->lower);
    const F u10 = differenceAt(block.yCell->upper, block.zCell->lower);
    const F u01 = differenceAt(block.yCell->lower, block.zCell->upper);
    const F u11 = differenceAt(block.yCell->upper, block.zCell->upper);
    const F least = Lanes::min(Lanes::min(u00, u10), Lanes::min(u01, u11));
    const F most = Lanes::max(Lanes::max(u00, u10), Lanes::max(u01, u11));
    // Error of u: the fraction along z is off by at most `deviation`, and the some 30 roundings of
    // both computations act on values no larger than |u| and scale * |reference dose|.
    const F magnitude =
        Lanes::max(most, zero - least) + Lanes::all(scale_ * __builtin_fabsf(referenceDose_));
    F error =
        (most - least) * Lanes::all(block.zCell->deviation) + magnitude * Lanes::all(0x1p-19F);
    // Where squares of u might overflow, every point is evaluated.
    if (Lanes::notGreater(magnitude, Lanes::all(1e15F)) != Lanes::everyLane) {
        error = Lanes::all(__builtin_inff());
    }
    // The row minimum may be taken at the wrong one of two nearly equal neighbours: off by at most
    // 2^-21 * (4 |k| + 2) of the limit.
    const auto farthest = static_cast<float>(larger(-block.z.first, block.z.last));
    const float neighbour = 1.0F + 0x1p-18F * (1.0F + farthest);
    const auto thresholdNow = [&] {
        return Lanes::all(threshold_ * neighbour) + error * (Lanes::all(2 * root_) + error);
    };
    F threshold = thresholdNow();
    const F away = Lanes::max(Lanes::max(least, zero - most), zero);
    const F bound = away * away + (column.squared + Lanes::all(block.nearestSquared));
    if ((Lanes::notGreater(bound, threshold) & column.lanes) == 0) {
        return;
    }
    const F d0 = u10 - u00;
    const F d1 = u11 - u01;
    const F slope = Lanes::all(block.zCell->slope);
    const F offset = Lanes::all(block.zCell->offset);
    const F zFirst = Lanes::all(static_cast<float>(block.z.first));
    const F zLast = Lanes::all(static_cast<float>(block.z.last));
    const F outer = Lanes::all(pass_.outerRim);
    // Below this no point within the threshold lies outside the shell's sphere.
    const bool rimMatters =
        Lanes::notGreater(threshold, Lanes::all(static_cast<float>(pass_.wholeSquared))) !=
        Lanes::everyLane;
    const AxisWindow& yWindow = scratch_.window[1];
    const LatticeInterval lanesRange{column.first, column.first + Lanes::width - 1};
    const float yRoom = smaller(threshold_, pass_.outerRim) + 0.01F -
                        squareOf(nearestToZero(block.z)) - squareOf(nearestToZero(lanesRange));
    if (yRoom < 0) {
        return;
    }
    const auto yReach = static_cast<std::int32_t>(__builtin_sqrtf(yRoom)) + 1;
    const LatticeInterval y = common(block.y, {-yReach, yReach});
    for (std::int32_t j = y.first; j <= y.last; ++j) {
        const F t = Lanes::all(yWindow.fraction[j - yWindow.range.first]);
        const F u0 = u00 + d0 * t;
        const F u1 = u01 + d1 * t;
        const F gradient = u1 - u0;
        const F b = gradient * slope;
        const F a = u0 + gradient * offset;
        const F inPlane = column.squared + Lanes::all(squareOf(j));
        F first = zFirst;
        F last = zLast;
        if (rimMatters) {
            const F room = Lanes::max(outer - inPlane, zero);
            const F rim = rounded(Lanes::sqrt(room + Lanes::all(0.01F)) - Lanes::all(0.499F));
            first = Lanes::max(zFirst, zero - rim);
            last = Lanes::min(zLast, rim);
        }
        const F lowest = rounded((zero - a * b) / (b * b + one));
        const F k = Lanes::min(Lanes::max(lowest, first), last);
        const F u = a + b * k;
        const F f = u * u + (k * k + inPlane);
        unsigned open = Lanes::notGreater(f, threshold) & column.lanes;
        if (open == 0) {
            continue;
        }
        // Lanes whose row does not meet this cell within the shell's sphere.
        open &= Lanes::notGreater(inPlane, outer) & Lanes::notGreater(first, last);
        if (open == 0) {
            continue;
        }
        alignas(64) float values[maxLanes];
        alignas(64) float margins[maxLanes];
        Lanes::store(values, f);
        Lanes::store(margins, error);
        while (open != 0 && !settled()) {
            const int lane = leastLane(values, open);
            considerRow(column.first + lane, j, block, margins[lane]);
            threshold = thresholdNow();
            open &= Lanes::notGreater(f, threshold) & ~(1U << lane);
        }
        if (settled()) {
            return;
        }
    }
}

/**
 * Considers the points of the lattice row (i, j) in one cell along z that can matter: those within
 * the width of the row's parabola below the threshold. `margin` is the error of u.
 */
void VoxelSearch::considerRow(std::int32_t i, std::int32_t j, const Block& block, float margin)
{
    const CellRun& cell = *block.zCell;
    const float room = pass_.outerRim - (squareOf(i) + squareOf(j));
    const auto rim = static_cast<std::int32_t>(__builtin_sqrtf(room + 0.01F));
    const LatticeInterval range = common(block.z, {-rim, rim});
    if (range.empty()) {
        return;
    }
    const AxisPoint x = centrePoint(0, i);
    const AxisPoint y = windowPoint(1, j);
    const float c0 = mixInPlane(pass_.evaluation.map, pass_.evaluation.n, x, y, cell.lower);
    const float c1 = mixInPlane(pass_.evaluation.map, pass_.evaluation.n, x, y, cell.upper);
    // A cell with a corner that is not finite has no point with a finite dose.
    if (!isFinite(c0) || !isFinite(c1)) {
        return;
    }
    const bool planar = pass_.reader == Reader::bilinear;
    const AxisWindow& zWindow = scratch_.window[2];
    const auto considerAt = [&](std::int32_t k) {
        if (!isMember(i, j, k)) {
            return false;
        }
        const float fraction = zWindow.fraction[k - zWindow.range.first];
        consider(planar ? c0 : mix(c0, c1, fraction), i, j, k);
        return true;
    };
    const auto considerAll = [&](std::int32_t from, std::int32_t to, std::int32_t done) {
        for (std::int32_t k = from; k <= to; ++k) {
            if (k != done) {
                considerAt(k);
            }
        }
    };
    if (planar) {
        // The dose is the same along the run: the nearest point of it is enough, if it is one.
        const std::int32_t nearest = nearestToZero(range);
        if (!considerAt(nearest)) {
            considerAll(range.first, range.last, nearest);
        }
        return;
    }
    const double u0 = (static_cast<double>(c0) - static_cast<double>(referenceDose_)) *
                      static_cast<double>(scale_);
    const double rise =
        (static_cast<double>(c1) - static_cast<double>(c0)) * static_cast<double>(scale_);
    const double b = rise * static_cast<double>(cell.slope);
    const double a = u0 + rise * static_cast<double>(cell.offset);
    const double curvature = b * b + 1;
    const double lowest = -a * b / curvature;
    const double least =
        a * a / curvature + static_cast<double>(squareOf(i)) + static_cast<double>(squareOf(j));
    const double first = range.first;
    const double last = range.last;
    const double allowed = static_cast<double>(threshold_) +
                           static_cast<double>(margin) *
                               (2 * static_cast<double>(root_) + static_cast<double>(margin));
    if (!(lowest - lowest == 0 && curvature - curvature == 0 && allowed - allowed == 0)) {
        considerAll(range.first, range.last, range.last + 1);
        return;
    }
    const auto centre =
        static_cast<std::int32_t>(__builtin_floor(clamped(lowest, first, last) + 0.5));
    considerAt(centre);
    // One hundredth of a step covers the rounding of `lowest`.
    constexpr double rounding = 0.01;
    const double toCentre = __builtin_fabs(lowest - static_cast<double>(centre));
    const double toOthers = larger(1 - toCentre, 0.5) - rounding;
    if (curvature * toOthers * toOthers + least > allowed) {
        return;
    }
    const double excess = larger((allowed - least) / curvature, 0.0);
    const double width = __builtin_sqrt(excess) + rounding;
    const double from = __builtin_ceil(clamped(lowest - width, first, last));
    const double to = __builtin_floor(clamped(lowest + width, first, last));
    considerAll(static_cast<std::int32_t>(from), static_cast<std::int32_t>(to), centre);
}

} // namespace

#endif
