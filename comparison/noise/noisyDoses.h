/**
 * @file noisyDoses.h
 * Doses with more statistical noise than they have.
 */
#ifndef ZARNGI_COMPARISON_NOISE_NOISYDOSES_H
#define ZARNGI_COMPARISON_NOISE_NOISYDOSES_H

#include <span>
#include <vector>

#include "comparison/doseSampling.h"
#include "comparison/explanation/gridBox.h"
#include "comparison/noise/normalNumbers.h"

namespace zarngi
{

/** Noise that is added to the doses of a grid. */
struct AddedNoise {
    std::span<const float> uncertainty; ///< of each dose; not a number: none. Empty: no noise
    double factor = 0;                  ///< of the uncertainties
    NormalNumbers numbers;              ///< by the number of the voxel in the whole grid
};

/** The doses in a part of a grid with more noise. @param values [out] of the voxels in the box */
void addNoise(const DoseView& doses, const GridBox& box, const AddedNoise& noise, int threads,
              std::vector<float>& values);

} // namespace zarngi

#endif
