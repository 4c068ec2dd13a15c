/**
 * @file failedSides.h
 * Whether voxels fail by too much dose or by too little.
 */
#ifndef ZARNGI_COMPARISON_FAILEDSIDES_H
#define ZARNGI_COMPARISON_FAILEDSIDES_H

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "comparison/doseSampling.h"

namespace zarngi
{

/** Numbers of failed voxels; those that are neither have equal doses, or no evaluation dose. */
struct FailedSides {
    std::size_t hot = 0;  ///< evaluation dose above the reference dose at the voxel's centre
    std::size_t cold = 0; ///< below
};

/** The evaluation's doses at the voxel centres of the reference, beside those of the reference. */
class CentreDoses
{
public:
    /** The doses must stay as they are. */
    CentreDoses(const DoseView& reference, const DoseView& evaluation);

    /** Counts a voxel of the reference, which has failed. */
    void count(FailedSides& sides, std::size_t voxel) const;

    /** Where a voxel of the reference lies in the evaluation, for each axis. */
    std::array<AxisPlace, 3> placesOf(std::size_t voxel) const;

private:
    DoseView reference_;
    DoseView evaluation_;
    std::array<std::vector<AxisPlace>, 3> places_; ///< in the evaluation, for each axis
};

/** @param passed for each voxel of the reference: 1, 0, or 255: not tested. */
FailedSides failedSides(const CentreDoses& doses, std::span<const unsigned char> passed);

} // namespace zarngi

#endif
