/**
 * @file doseDifference.h
 * The difference between the two doses of a comparison.
 */
#ifndef ZARNGI_COMPARISON_DOSEDIFFERENCE_H
#define ZARNGI_COMPARISON_DOSEDIFFERENCE_H

#include "comparison/comparison.h"

namespace zarngi
{

/**
 * Evaluation less reference at the voxel centres of the reference, where the evaluation is
 * interpolated; not a number where there is no evaluation dose. Of grids, not of points.
 */
Image doseDifference(const Comparison& comparison);

} // namespace zarngi

#endif
