#include "comparison/explanation/runEngine.h"

#include <algorithm>
#include <utility>

namespace zarngi
{

RunEngine::RunEngine(GammaRun& run, const GammaSettings& settings, bool isLocal, WatchSearch watch)
    : run_(run), settings_(settings), isLocal_(isLocal), watch_(std::move(watch))
{
    settings_.passRateOnly = false;
    settings_.verbose = 0;
}

void RunEngine::setReference(const DoseView& doses)
{
    run_.setReference(doses);
}

void RunEngine::setEvaluation(const DoseView& doses)
{
    run_.setEvaluation(doses);
}

void RunEngine::compute(const TrialCriterion& criterion, std::span<float> gamma,
                        std::span<unsigned char> passed)
{
    settings_.step = criterion.step;
    settings_.maxGamma = criterion.maxGamma;
    const GammaMap map =
        run_.search(settings_, {criterion.doseDifference, criterion.distance, isLocal_}, watch_);
    std::copy(map.values.begin(), map.values.end(), gamma.begin());
    std::copy(map.passed.begin(), map.passed.end(), passed.begin());
}

} // namespace zarngi
