/**
 * @file syntheticDose.h
 * A made-up pair of dose distributions that looks like a treatment and its verification.
 */
#ifndef ZARNGI_COMPARISON_EXAMPLE_SYNTHETICDOSE_H
#define ZARNGI_COMPARISON_EXAMPLE_SYNTHETICDOSE_H

#include "comparison/doseImage.h"

namespace zarngi
{

/** How the evaluation differs from the reference. */
struct Disturbance {
    Vec3 shift;         ///< mm, of the patient
    double output;      ///< factor on every dose
    double noise;       ///< relative standard deviation of each voxel's dose
    unsigned long seed; ///< of the noise
};

/** The undisturbed dose. */
constexpr Disturbance undisturbed{{0, 0, 0}, 1, 0, 0};
/** What a verification finds on a fair day. */
constexpr Disturbance fairVerification{{1.2, -0.7, 0.5}, 1.015, 0.03, 20240229};

/**
 * Two crossing photon fields of 2 Gy together in an elliptical body of water: build-up,
 * attenuation, penumbrae that widen with depth, a little scatter outside the fields.
 * The same numbers on every machine up to the rounding of the mathematical library.
 */
Image syntheticDose(const Geometry& geometry, const Disturbance& disturbance);

/** The grid of the demonstration: some million voxels. */
Geometry demoGeometry();

} // namespace zarngi

#endif
