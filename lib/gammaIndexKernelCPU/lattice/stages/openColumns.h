/**
 * @file openColumns.h
 * Columns of which more than one point may matter: evaluated point by point.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_OPENCOLUMNS_H
#define ZARNGI_LATTICE_STAGES_OPENCOLUMNS_H

#include <cstdint>

#include "doseGrid.h"
#include "gridAxis.h"
#include "lanes/lanes.h"
#include "lattice/axes.h"
#include "lattice/intervals.h"
#include "lattice/pass.h"
#include "lattice/scratch.h"
#include "lattice/stages/bestPoint.h"
#include "lattice/stages/singlePoints.h"
#include "lattice/stages/voxelTable.h"

namespace zarngi::engine
{

namespace
{

/** A column in one cell of which more than the least point may matter. */
struct OpenColumn {
    const CellRun* cell;
    LatticeInterval range; ///< along z
    std::int32_t i;
    std::int32_t j;
    int voxel;
    float error;  ///< of u
    float second; ///< f of the second least point; -infinity: to be looked at anyway
};

/** The points of one column. */
class ColumnPoints
{
public:
    ColumnPoints(const SearchPass& pass, VoxelTable& voxels, const OpenColumn& column)
        : pass_(pass), voxels_(voxels), column_(column), start_(*voxels.start[column.voxel]),
          points_(pass, start_)
    {
    }

    /**
     * Considers the points that can matter: those within the width of the column's parabola below
     * the threshold.
     */
    void consider();

    // What SinglePoints asks for:
    [[nodiscard]] float threshold() const { return voxels_.threshold[column_.voxel]; }
    void take(const BestPoint& point) { voxels_.take(column_.voxel, point); }

private:
    void considerParabola(LatticeInterval range);

    /** False if the shells do not hold the point. */
    bool considerAt(std::int32_t k)
    {
        if (!points_.isMember(column_.i, column_.j, k)) {
            return false;
        }
        const float dose =
            isPlanar() ? below_ : mix(below_, above_, points_.centrePoint(2, k).fraction);
        points_.consider(*this, dose, column_.i, column_.j, k);
        return true;
    }

    void considerAll(std::int32_t from, std::int32_t to, std::int32_t done)
    {
        for (std::int32_t k = from; k <= to; ++k) {
            if (k != done) {
                considerAt(k);
            }
        }
    }

    [[nodiscard]] bool isPlanar() const { return pass_.reader == Reader::bilinear; }

    const SearchPass& pass_;
    VoxelTable& voxels_;
    const OpenColumn& column_;
    const VoxelStart& start_;
    SinglePoints points_;
    float below_ = 0; ///< Gy, doses in the planes of voxel centres below and above
    float above_ = 0;
};

void ColumnPoints::consider()
{
    const float squared = squareOf(column_.i) + squareOf(column_.j);
    const auto rim = static_cast<std::int32_t>(__builtin_sqrtf(pass_.outerRim - squared + 0.01F));
    const LatticeInterval range = common(column_.range, {-rim, rim});
    if (range.empty()) {
        return;
    }
    const AxisPoint x = points_.centrePoint(0, column_.i);
    const AxisPoint y = points_.centrePoint(1, column_.j);
    const DoseGrid& grid = pass_.evaluation;
    below_ = mixInPlane(grid.map, grid.n, x, y, column_.cell->lower);
    above_ = mixInPlane(grid.map, grid.n, x, y, column_.cell->upper);
    // A cell with a corner that is not finite has no point with a finite dose.
    if (!isFinite(below_) || !isFinite(above_)) {
        return;
    }
    if (isPlanar()) {
        // The dose is the same along the run: the nearest point of it is enough, if it is one.
        const std::int32_t nearest = nearestToZero(range);
        if (!considerAt(nearest)) {
            considerAll(range.first, range.last, nearest);
        }
        return;
    }
    considerParabola(range);
}

void ColumnPoints::considerParabola(LatticeInterval range)
{
    const CellRun& cell = *column_.cell;
    const auto scale = static_cast<double>(start_.scale);
    const double u0 =
        (static_cast<double>(below_) - static_cast<double>(start_.referenceDose)) * scale;
    const double rise = (static_cast<double>(above_) - static_cast<double>(below_)) * scale;
    const double b = rise * static_cast<double>(cell.slope);
    const double a = u0 + rise * static_cast<double>(cell.offset);
    const double curvature = b * b + 1;
    const double lowest = -a * b / curvature;
    const double least = a * a / curvature + static_cast<double>(squareOf(column_.i)) +
                         static_cast<double>(squareOf(column_.j));
    const double first = range.first;
    const double last = range.last;
    const auto error = static_cast<double>(column_.error);
    const double root = static_cast<double>(voxels_.root[column_.voxel]);
    const double allowed = static_cast<double>(threshold()) + error * (2 * root + error);
    if (!(lowest - lowest == 0 && allowed - allowed == 0)) {
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

/** A list of open columns, which is to be emptied before it is full. */
class OpenColumns
{
public:
    OpenColumns(const SearchPass& pass, VoxelTable& voxels) : pass_(pass), voxels_(voxels) {}

    /** Whether another Lanes::width of columns may be too many. */
    [[nodiscard]] bool isNearlyFull() const { return count_ > maxColumns - Lanes::width; }

    void add(const OpenColumn& column) { columns_[count_++] = column; }

    /** Considers what can still matter, and empties the list. */
    void considerAll()
    {
        for (int n = 0; n < count_; ++n) {
            const OpenColumn& column = columns_[n];
            if (!(column.second > voxels_.allowedAlong(column.voxel, column.error, column.range))) {
                ColumnPoints(pass_, voxels_, column).consider();
            }
        }
        count_ = 0;
    }

private:
    static constexpr int maxColumns = 128;

    const SearchPass& pass_;
    VoxelTable& voxels_;
    int count_ = 0;
    OpenColumn columns_[maxColumns];
};

} // namespace

} // namespace zarngi::engine

#endif
