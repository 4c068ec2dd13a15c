/**
 * @file doseSamples.h
 * The doses at the sub-points of a structure.
 */
#ifndef ZARNGI_COMPARISON_STRUCTURES_DOSESAMPLES_H
#define ZARNGI_COMPARISON_STRUCTURES_DOSESAMPLES_H

#include <cstddef>
#include <vector>

#include "comparison/doseSampling.h"
#include "comparison/structures/subPoints.h"

namespace zarngi
{

struct DoseSamples {
    std::vector<double> doses;   ///< in the order of the points
    std::size_t withoutDose = 0; ///< points outside the faces of the dose grid
};

/** Trilinear, within the outermost voxels the dose at their centres. */
DoseSamples doseSamples(const DoseView& dose, const SubPoints& points);

} // namespace zarngi

#endif
