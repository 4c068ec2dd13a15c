/**
 * @file gammaEngine.h
 * What an explanation needs of the host: gamma computations, one after the other.
 */
#ifndef ZARNGI_COMPARISON_EXPLANATION_GAMMAENGINE_H
#define ZARNGI_COMPARISON_EXPLANATION_GAMMAENGINE_H

#include <optional>
#include <span>

#include "comparison/doseSampling.h"

namespace zarngi
{

/** What changes from one computation to the next; all else is the engine's own. */
struct TrialCriterion {
    double doseDifference;      ///< %
    double distance;            ///< mm
    std::optional<double> step; ///< mm, of the search lattice; none: a tenth of the distance
    double maxGamma;
};

/** The same criteria, cut-off and normalisation dose (one given in Gy) in each computation. */
class GammaEngine
{
public:
    GammaEngine() = default;
    virtual ~GammaEngine() = default;
    GammaEngine(const GammaEngine&) = delete;
    GammaEngine& operator=(const GammaEngine&) = delete;

    /** Replaces the reference; its doses may change after the call. */
    virtual void setReference(const DoseView& doses) = 0;

    /** Replaces the evaluation; its doses may change after the call. */
    virtual void setEvaluation(const DoseView& doses) = 0;

    /**
     * @param gamma [out] on the reference grid; -1: not tested.
     * @param passed [out] 1, 0, or 255: not tested.
     * @throws what ends the explanation
     */
    virtual void compute(const TrialCriterion& criterion, std::span<float> gamma,
                         std::span<unsigned char> passed) = 0;
};

} // namespace zarngi

#endif
