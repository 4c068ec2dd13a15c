/**
 * @file runEngine.h
 * Gamma computations for an explanation, by a run of the library.
 */
#ifndef ZARNGI_COMPARISON_EXPLANATION_RUNENGINE_H
#define ZARNGI_COMPARISON_EXPLANATION_RUNENGINE_H

#include "comparison/explanation/gammaEngine.h"
#include "comparison/gammaRun.h"

namespace zarngi
{

class RunEngine : public GammaEngine
{
public:
    /**
     * @param settings with a normalisation dose; those that a computation sets count no more.
     * @param isLocal whether dose differences are relative to the voxel's own dose.
     * @param watch told of each search; may be empty.
     */
    RunEngine(GammaRun& run, const GammaSettings& settings, bool isLocal, WatchSearch watch);

    void setReference(const DoseView& doses) override;
    void setEvaluation(const DoseView& doses) override;
    void compute(const TrialCriterion& criterion, std::span<float> gamma,
                 std::span<unsigned char> passed) override;

private:
    GammaRun& run_;
    GammaSettings settings_;
    bool isLocal_;
    WatchSearch watch_;
};

} // namespace zarngi

#endif
