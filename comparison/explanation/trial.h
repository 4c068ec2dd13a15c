/**
 * @file trial.h
 * Computations with an evaluation that is moved and scaled, in some of the tested voxels.
 */
#ifndef ZARNGI_COMPARISON_EXPLANATION_TRIAL_H
#define ZARNGI_COMPARISON_EXPLANATION_TRIAL_H

#include <cstddef>
#include <optional>
#include <vector>

#include "comparison/criterion.h"
#include "comparison/explanation/gammaEngine.h"
#include "comparison/explanation/gridBox.h"

namespace zarngi
{

/** What is done to the evaluation. */
struct DoseChange {
    Vec3 shift{};      ///< mm, added to its positions: x to the left, y to the back, z to the head
    double factor = 1; ///< of its doses
};

/** The numbers of voxels of the reference, x fastest, rising. */
using VoxelList = std::vector<std::size_t>;

/** The maps of a computation. */
struct GammaMaps {
    std::vector<float> gamma;
    std::vector<unsigned char> passed;
};

/** Tries changes of the evaluation; counts what that costs. */
class Trials
{
public:
    /** gamma beyond which a voxel is as bad as it can be */
    static constexpr double gammaLimit = 2;

    /** @param step mm; none: a tenth of the distance to agreement. */
    Trials(GammaEngine& engine, const DoseView& reference, const DoseView& evaluation,
           const Criterion& criterion, std::optional<double> step);

    /** From now on the computations test these voxels only, of the grids as they are. */
    void testWhole(const VoxelList& voxels);

    /**
     * From now on the computations test these voxels only, of the parts of the grids around them.
     * This is faster than testWhole(); a gamma may differ in its last bits.
     * @param reach mm, along each axis: largest shift and distance searched.
     */
    void testPart(const VoxelList& voxels, const Vec3& reach);

    /** @param widening of both parts of the criterion */
    void compute(const DoseChange& change, double widening = 1, double maxGamma = gammaLimit);

    /** Mean of min(gamma, 2)^2 over the voxels, of the last computation. */
    double badness() const;

    /** min(gamma, 2)^2 of each voxel, of the last computation. */
    std::vector<double> badnesses() const;

    /** %, of the last computation. */
    double passRate() const;

    /** Of whole grids. */
    const GammaMaps& maps() const { return maps_; }

    /** Numbers of the voxels that the last computation, of whole grids, tested. */
    VoxelList tested() const;

    /** How many voxels the computations tested in all. */
    double voxelsComputed() const { return voxelsComputed_; }
    int computations() const { return computations_; }

private:
    void test(const VoxelList& voxels, const GridBox& box);

    GammaEngine& engine_;
    DoseView reference_;
    DoseView evaluation_;
    Criterion criterion_;
    std::optional<double> step_;
    VoxelList voxels_;           ///< by their numbers in the grid that is searched
    std::vector<float> cropped_; ///< doses of the evaluation in the part that is searched
    DoseView searched_;          ///< they, or the whole evaluation
    std::vector<float> scaled_;  ///< times the factor
    GammaMaps maps_;
    double voxelsComputed_ = 0;
    int computations_ = 0;
};

} // namespace zarngi

#endif
