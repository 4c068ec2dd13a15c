#include "lattice/cellGeometry.h"

#include <cmath>
#include <vector>

namespace zarngi::engine
{

namespace
{

/**
 * How far, in steps along an axis, a lattice point may lie from the cell that arithmetic without
 * rounding finds for it: positions are rounded to float, four times on the way.
 */
float roundingOfPositions(const SearchCriteria& criteria, const LatticeAxes& axes, int axis)
{
    const std::vector<AxisSample>& samples = axes.axis[axis];
    const DoseGrid& evaluation = criteria.evaluation;
    const double extent = std::fabs(static_cast<double>(samples.front().position)) +
                          std::fabs(static_cast<double>(samples.back().position)) +
                          std::fabs(static_cast<double>(evaluation.x0[axis])) +
                          static_cast<double>(evaluation.h[axis]) * evaluation.n[axis];
    return static_cast<float>(0.001 + 0x1p-21 * extent / static_cast<double>(criteria.stepSize));
}

} // namespace

CellGeometry::CellGeometry(const SearchCriteria& criteria, const LatticeAxes& axes)
{
    for (int a = 0; a < 2; ++a) {
        width[a] = static_cast<float>(static_cast<double>(criteria.evaluation.h[a]) /
                                      static_cast<double>(criteria.stepSize));
        perStep[a] = 1 / width[a];
        slack[a] = roundingOfPositions(criteria, axes, a);
    }
    edgesAreKnown = slack[0] < 0.25F && slack[1] < 0.25F;
    for (int a = 0; a < 3; ++a) {
        voxelsPerStep[a] =
            criteria.evaluation.n[a] > 1 ? criteria.stepSize / criteria.evaluation.h[a] : 0.0F;
    }
}

} // namespace zarngi::engine
