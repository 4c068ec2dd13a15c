/**
 * @file voxelSearch.h
 * The search around one voxel: what it has found, and what can still matter.
 *
 * Part of lattice/stages/group.h.
 *
 * Units inside: lengths in lattice steps, dose differences multiplied by `scale` = steps per DTA /
 * dose criterion, so that gamma^2 becomes f = u^2 + i^2 + j^2 + k^2 = gamma^2 * stepsPerDTA^2. This
 * f is computed approximately for whole vectors of points; a point is dropped only when f exceeds
 * the best value by more than the error of f, and the rest is evaluated in the specified
 * order of operations (consider).
 */
#ifndef ZARNGI_LATTICE_STAGES_VOXELSEARCH_H
#define ZARNGI_LATTICE_STAGES_VOXELSEARCH_H

#include <cstdint>

#include "gammaTerm.h"
#include "gridAxis.h"
#include "lattice/axes.h"
#include "lattice/intervals.h"
#include "lattice/pass.h"
#include "lattice/scratch.h"
#include "lattice/stages/voxelStart.h"

namespace
{

/** The part of a cell row along z that the search looks at. */
struct RowPart {
    const CellRun* cell;
    LatticeInterval range;
};

/** What the search around one voxel has found, and what can still matter to it. */
class VoxelSearch
{
public:
    void begin(const SearchPass& pass, SearchScratch& scratch, VoxelStart& start)
    {
        pass_ = &pass;
        scratch_ = &scratch;
        start_ = &start;
        scale_ = start.scale;
        best_ = start.best;
        bestDistanceSquared_ = start.bestDistanceSquared;
        bestPoint_ = start.bestPoint;
        tame_ = start.isTame(pass);
        limitChanged();
    }

    /** Hands back what has been found. */
    void end()
    {
        start_->best = best_;
        start_->bestDistanceSquared = bestDistanceSquared_;
        start_->bestPoint = bestPoint_;
        start_->store(*pass_);
    }

    /** Whether nothing that has not been looked at can matter. */
    [[nodiscard]] bool isDone() const { return settled() || originDecides(); }

    /** In pass-rate mode one passing point is enough. */
    [[nodiscard]] bool settled() const { return pass_->passRateMode && best_ <= 1.0F; }

    [[nodiscard]] const VoxelStart& start() const { return *start_; }
    /** Whether squares of differences that matter are computed without underflow. */
    [[nodiscard]] bool isTame() const { return tame_; }
    /** f above it cannot matter, but for the error of u. */
    [[nodiscard]] float threshold() const { return threshold_; }
    [[nodiscard]] float root() const { return root_; } ///< of the threshold
    [[nodiscard]] float best() const { return best_; } ///< least gamma^2 so far
    /** mm^2, of the point that gave it in this pass. */
    [[nodiscard]] float bestDistanceSquared() const { return bestDistanceSquared_; }
    /** Lattice indices that can matter on any axis. */
    [[nodiscard]] LatticeInterval reach() const { return reach_; }

    /** Takes the exact gamma^2 of a point into account, and its squared distance (mm^2). */
    void take(float Gammasq, float r2, const LatticePoint& point)
    {
        // Of points with equal gamma^2 the nearest one counts, as when they are visited in order.
        if (Gammasq < best_ || (Gammasq == best_ && r2 < bestDistanceSquared_)) {
            best_ = Gammasq;
            bestDistanceSquared_ = r2;
            bestPoint_ = point;
            limitChanged();
        }
    }

    void considerRow(std::int32_t i, std::int32_t j, const RowPart& part, float margin);
    void searchVoxelwise();

    /** Lattice indices on an axis that can matter, given how near the box comes on the others. */
    [[nodiscard]] LatticeInterval reachOn(int axis) const
    {
        if (start_->nearestSquared == 0) {
            return reach_;
        }
        float room = smaller(threshold_, pass_->outerSquared);
        for (int a = 0; a < 3; ++a) {
            room -= a == axis ? 0.0F : squareOf(start_->sample[a]->nearest);
        }
        if (!(room >= 0)) {
            return {0, -1};
        }
        // One more step covers the rounding of the squares of large indices.
        const float reach = __builtin_sqrtf(room) + 1;
        const std::int32_t last = reach < static_cast<float>(reach_.last)
                                      ? static_cast<std::int32_t>(reach)
                                      : reach_.last;
        return {-last, last};
    }

private:
    /** Whether no lattice point but the origin can matter, and that has been considered. */
    [[nodiscard]] bool originDecides() const
    {
        const LatticeInterval* const range = start_->candidates;
        return threshold_ < 1.0F && start_->originConsidered && holdsZero(range[0]) &&
               holdsZero(range[1]) && holdsZero(range[2]);
    }

    /** Whether all points that can matter lie between voxel centres. */
    [[nodiscard]] bool isInterpolatedWithinReach() const
    {
        bool all = true;
        for (const AxisSample* sample : start_->sample) {
            all = all && sample->centre.first <= reach_.first && sample->centre.last >= reach_.last;
        }
        return all;
    }

    /** gamma^2 that a point must not exceed to matter. */
    [[nodiscard]] float limit() const
    {
        return pass_->passRateMode ? start_->cap : smaller(best_, start_->cap);
    }

    void limitChanged()
    {
        threshold_ = tame_ ? limit() * pass_->thresholdPerLimit : __builtin_inff();
        root_ = __builtin_sqrtf(threshold_);
        const std::int32_t reach = root_ < static_cast<float>(pass_->outerIndex)
                                       ? static_cast<std::int32_t>(root_)
                                       : pass_->outerIndex;
        reach_ = {-reach, reach};
    }

    /** Whether this shell or an earlier one holds the point. */
    [[nodiscard]] bool isMember(std::int32_t i, std::int32_t j, std::int32_t k) const
    {
        const std::int64_t squared =
            std::int64_t{i} * i + std::int64_t{j} * j + std::int64_t{k} * k;
        return pass_->isCertain(squared) || pass_->isEnumerated(i, j, k);
    }

    /** Takes one evaluation point into account, in the specified order of operations. */
    void consider(float dose, std::int32_t i, std::int32_t j, std::int32_t k)
    {
        const float x = static_cast<float>(i) * pass_->stepSize;
        const float y = static_cast<float>(j) * pass_->stepSize;
        const float z = static_cast<float>(k) * pass_->stepSize;
        const float r2 = (x * x + y * y) + z * z;
        const float DDterm = dose - start_->referenceDose;
        // Most points are told to be no better without the four divisions. The error of this
        // estimate is some ten roundings.
        const float u = DDterm * scale_;
        if (u * u + r2 * pass_->stepsPerMmSquared > threshold_) {
            return;
        }
        take(gammaSquared(DDterm, start_->delta, distanceTerm(r2, pass_->dta)), r2,
             {static_cast<float>(i), static_cast<float>(j), static_cast<float>(k)});
    }

    [[nodiscard]] float doseOf(const AxisPoint (&p)[3]) const
    {
        return doseAtPoint(pass_->evaluation.map, pass_->evaluation.n, p[0], p[1], p[2],
                           pass_->reader);
    }

    [[nodiscard]] AxisPoint locatePoint(int axis, std::int32_t i) const
    {
        const float position =
            start_->sample[axis]->position + static_cast<float>(i) * pass_->stepSize;
        return locate(position, pass_->evaluation.x0[axis], pass_->evaluation.h[axis],
                      pass_->evaluation.n[axis], pass_->reader);
    }

    /** A lattice point of the zone between voxel centres. */
    [[nodiscard]] AxisPoint centrePoint(int axis, std::int32_t i) const
    {
        AxisPoint p{Zone::centre, 0, 0, 0, 0.0F};
        const float position =
            start_->sample[axis]->position + static_cast<float>(i) * pass_->stepSize;
        setNeighbours(p, (position - pass_->evaluation.x0[axis]) / pass_->evaluation.h[axis],
                      pass_->evaluation.n[axis]);
        return p;
    }

    void findVoxelRuns(int axis, LatticeInterval range);
    void considerVoxel(const VoxelRun& x, const VoxelRun& y, const VoxelRun& z);
    void considerVoxelRows(const VoxelRun& x, const VoxelRun& y, const VoxelRun& z, float dose);

    const SearchPass* pass_;
    SearchScratch* scratch_;
    VoxelStart* start_;
    float scale_;               ///< steps per Gy
    float best_;                ///< least gamma^2 so far
    float bestDistanceSquared_; ///< mm^2, of the point that gave it in this pass
    LatticePoint bestPoint_;    ///< that point
    float threshold_;
    float root_;
    LatticeInterval reach_;
    bool tame_; ///< VoxelStart::isTame()
};

/**
 * Considers the points of the lattice row (i, j) in one cell along z that can matter: those within
 * the width of the row's parabola below the threshold. `margin` is the error of u.
 */
void VoxelSearch::considerRow(std::int32_t i, std::int32_t j, const RowPart& part, float margin)
{
    const CellRun& cell = *part.cell;
    const float room = pass_->outerRim - (squareOf(i) + squareOf(j));
    const auto rim = static_cast<std::int32_t>(__builtin_sqrtf(room + 0.01F));
    const LatticeInterval range = common(part.range, {-rim, rim});
    if (range.empty()) {
        return;
    }
    const AxisPoint x = centrePoint(0, i);
    const AxisPoint y = centrePoint(1, j);
    const float c0 = mixInPlane(pass_->evaluation.map, pass_->evaluation.n, x, y, cell.lower);
    const float c1 = mixInPlane(pass_->evaluation.map, pass_->evaluation.n, x, y, cell.upper);
    // A cell with a corner that is not finite has no point with a finite dose.
    if (!isFinite(c0) || !isFinite(c1)) {
        return;
    }
    const bool planar = pass_->reader == Reader::bilinear;
    const auto considerAt = [&](std::int32_t k) {
        if (!isMember(i, j, k)) {
            return false;
        }
        consider(planar ? c0 : mix(c0, c1, centrePoint(2, k).fraction), i, j, k);
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
    const double u0 = (static_cast<double>(c0) - static_cast<double>(start_->referenceDose)) *
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

} // namespace

#endif
