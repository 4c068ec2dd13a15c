/**
 * @file singlePoints.h
 * Exact values at single lattice points around a voxel.
 *
 * Part of lattice/stages/group.h.
 *
 * Units inside: lengths in lattice steps, dose differences multiplied by `scale` = steps per DTA /
 * dose criterion, so that gamma^2 becomes f = u^2 + i^2 + j^2 + k^2 = gamma^2 * stepsPerDTA^2. This
 * f is computed approximately for whole vectors of points; a point is dropped only when f exceeds
 * the best value by more than the error of f, and the rest is evaluated in the specified
 * order of operations: here, or by points.h for a vector of points.
 */
#ifndef ZARNGI_LATTICE_STAGES_SINGLEPOINTS_H
#define ZARNGI_LATTICE_STAGES_SINGLEPOINTS_H

#include <cstdint>

#include "gammaTerm.h"
#include "gridAxis.h"
#include "lattice/pass.h"
#include "lattice/stages/bestPoint.h"
#include "lattice/stages/voxelStart.h"

namespace zarngi::engine
{

namespace
{

/** The lattice points around a voxel, one by one. */
class SinglePoints
{
public:
    SinglePoints(const SearchPass& pass, const VoxelStart& start) : pass_(pass), start_(start) {}

    /** Whether this shell or an earlier one holds the point. */
    [[nodiscard]] bool isMember(std::int32_t i, std::int32_t j, std::int32_t k) const
    {
        const std::int64_t squared =
            std::int64_t{i} * i + std::int64_t{j} * j + std::int64_t{k} * k;
        return pass_.isCertain(squared) || pass_.isEnumerated(i, j, k);
    }

    [[nodiscard]] AxisPoint locatePoint(int axis, std::int32_t i) const
    {
        return locate(positionOf(axis, i), pass_.evaluation.x0[axis], pass_.evaluation.h[axis],
                      pass_.evaluation.n[axis], pass_.reader);
    }

    /** A lattice point of the zone between voxel centres. */
    [[nodiscard]] AxisPoint centrePoint(int axis, std::int32_t i) const
    {
        AxisPoint p{Zone::centre, 0, 0, 0, 0.0F};
        setNeighbours(p,
                      (positionOf(axis, i) - pass_.evaluation.x0[axis]) / pass_.evaluation.h[axis],
                      pass_.evaluation.n[axis]);
        return p;
    }

    [[nodiscard]] float doseOf(const AxisPoint (&p)[3]) const
    {
        return doseAtPoint(pass_.evaluation.map, pass_.evaluation.n, p[0], p[1], p[2],
                           pass_.reader);
    }

    /**
     * Takes a point into account that has this dose. `found` knows the best point so far: its
     * threshold(), in units of f, and how to take() a point.
     */
    template <class Found>
    void consider(Found& found, float dose, std::int32_t i, std::int32_t j, std::int32_t k) const
    {
        const LatticePoint point{
            {static_cast<float>(i), static_cast<float>(j), static_cast<float>(k)}};
        const float r2 =
            squaredDistance(point.index[0] * pass_.stepSize, point.index[1] * pass_.stepSize,
                            point.index[2] * pass_.stepSize);
        const float DDterm = dose - start_.referenceDose;
        // Most points are told to be no better without the four divisions. The error of this
        // estimate is some ten roundings.
        const float u = DDterm * start_.scale;
        if (u * u + r2 * pass_.stepsPerMmSquared > found.threshold()) {
            return;
        }
        found.take({gammaSquared(DDterm, start_.delta, distanceTerm(r2, pass_.dta)), r2, point});
    }

private:
    [[nodiscard]] float positionOf(int axis, std::int32_t i) const
    {
        return start_.sample[axis]->position + static_cast<float>(i) * pass_.stepSize;
    }

    const SearchPass& pass_;
    const VoxelStart& start_;
};

} // namespace

} // namespace zarngi::engine

#endif
