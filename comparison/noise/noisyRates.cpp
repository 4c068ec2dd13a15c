#include "comparison/noise/noisyRates.h"

#include <algorithm>
#include <cmath>

#include "comparison/failure.h"
#include "comparison/noise/noisyDoses.h"
#include "libZarnGI.h"

namespace zarngi
{

namespace
{

/** %, of the normalisation dose: below any dose that is tested, and above 0. */
constexpr double lowestCutOff = 1e-4;

/** The computations, one after the other. */
class NoisySearches
{
public:
    NoisySearches(GammaRun& run, const UncertainPair& pair, const NoisyRequest& request,
                  const WatchNoise& watch)
        : run_(run), pair_(pair), request_(request), watch_(watch), settings_(request.settings),
          evaluationBox_(reachOf(pair, request.criteria))
    {
        settings_.cutOff = lowestCutOff;
        settings_.passRateOnly = true;
        settings_.maxGamma = 1;
        settings_.verbose = 0;
    }

    void run(std::vector<std::vector<NoiseCounts>>& counts)
    {
        for (std::size_t step = 0; step < addedVariances.size(); ++step) {
            std::vector<files::LargeVector<unsigned char>> first;
            for (std::size_t repetition = 0; repetition < noiseRepetitions; ++repetition) {
                setDoses(step, repetition);
                for (std::size_t i = 0; i < request_.criteria.size(); ++i) {
                    files::LargeVector<unsigned char> passed = search(request_.criteria[i]);
                    count(counts[i], step, repetition, passed,
                          repetition > 0 ? &first[i] : nullptr);
                    if (repetition == 0) {
                        first.push_back(std::move(passed));
                    }
                }
            }
        }
    }

private:
    /** The part of the evaluation that the searches reach. */
    static GridBox reachOf(const UncertainPair& pair, const std::vector<Criterion>& criteria)
    {
        double reach = 0;
        for (const Criterion& criterion : criteria) {
            reach = std::max(reach, criterion.distance);
        }
        return boxOf(pair.evaluation.geometry, pair.reference.geometry, pair.box,
                     {reach, reach, reach});
    }

    void setDoses(std::size_t step, std::size_t repetition)
    {
        const std::uint64_t set = 2 * (step * noiseRepetitions + repetition);
        const double factor = std::sqrt(addedVariances.at(step));
        const int threads = settings_.threads;
        if (set == 0 || !pair_.referenceUncertainty.empty()) {
            addNoise(pair_.reference, pair_.box,
                     {pair_.referenceUncertainty, factor, NormalNumbers(request_.seed, set)},
                     threads, doses_);
            keepTested();
            run_.setReference({geometryOf(pair_.reference.geometry, pair_.box), doses_});
        }
        if (set == 0 || !pair_.evaluationUncertainty.empty()) {
            addNoise(pair_.evaluation, evaluationBox_,
                     {pair_.evaluationUncertainty, factor, NormalNumbers(request_.seed, set + 1)},
                     threads, doses_);
            run_.setEvaluation({geometryOf(pair_.evaluation.geometry, evaluationBox_), doses_});
        }
    }

    /** Doses of the tested voxels stay above the cut-off, all others below. */
    void keepTested()
    {
        const auto lowest = static_cast<float>(2 * lowestCutOff / 100 * *settings_.normalisation);
        forEachVoxel(pair_.reference.geometry, pair_.box, runsOf(pair_.box),
                     [&](std::size_t voxel, std::size_t at) {
                         doses_[at] = pair_.isTested(voxel) ? std::max(doses_[at], lowest) : 0;
                     });
    }

    files::LargeVector<unsigned char> search(const Criterion& criterion)
    {
        const auto all = static_cast<double>(request_.criteria.size() * addedVariances.size() *
                                             noiseRepetitions);
        bool hasEnded = false;
        const auto tell = [&](const SearchProgress& progress) {
            hasEnded =
                hasEnded || (watch_ && !watch_((done_ + std::min(progress.share, 1.0)) / all));
            return !hasEnded;
        };
        if (!tell({})) {
            throw InputError("the estimate without noise was interrupted",
                             FailureKind::interrupted);
        }
        files::LargeVector<unsigned char> passed =
            run_.search(settings_, criterion, watch_ ? WatchSearch(tell) : WatchSearch()).passed;
        ++done_;
        return passed;
    }

    void count(std::vector<NoiseCounts>& counts, std::size_t step, std::size_t repetition,
               std::span<const unsigned char> passed,
               const files::LargeVector<unsigned char>* other)
    {
        for (std::size_t part = 0; part < request_.parts.size(); ++part) {
            std::size_t passedHere = 0;
            std::size_t disagreements = 0;
            forEachVoxel(pair_.reference.geometry, pair_.box, *request_.parts[part],
                         [&](std::size_t, std::size_t at) {
                             passedHere += passed[at] == ZARNGI_PASSED ? 1U : 0U;
                             disagreements +=
                                 other != nullptr && passed[at] != (*other)[at] ? 1U : 0U;
                         });
            counts[part].passedWith.at(step).at(repetition) = passedHere;
            counts[part].disagreements.at(step) = disagreements;
        }
    }

    GammaRun& run_;
    const UncertainPair& pair_;
    const NoisyRequest& request_;
    const WatchNoise& watch_;
    GammaSettings settings_;
    GridBox evaluationBox_;
    std::vector<float> doses_; ///< of one grid after the other
    double done_ = 0;          ///< searches
};

/** Mean square of the uncertainty by the dose difference that is allowed. */
double noiseSquareIn(const files::Runs& part, const UncertainPair& pair, const Criterion& criterion,
                     double normalisation, std::size_t& tested)
{
    double sum = 0;
    tested = 0;
    forEachVoxel(pair.reference.geometry, pair.box, part, [&](std::size_t voxel, std::size_t) {
        if (!pair.isTested(voxel)) {
            return;
        }
        const double whole =
            criterion.isLocal ? static_cast<double>(pair.reference.values[voxel]) : normalisation;
        const double allowed = criterion.doseDifference / 100 * whole;
        sum += pair.varianceAt(voxel) / (allowed * allowed);
        ++tested;
    });
    return tested > 0 ? sum / static_cast<double>(tested) : 0;
}

} // namespace

std::vector<std::vector<NoiseCounts>> noisyCounts(GammaRun& run, const UncertainPair& pair,
                                                  const NoisyRequest& request,
                                                  const WatchNoise& watch)
{
    std::vector<std::vector<NoiseCounts>> counts;
    for (const Criterion& criterion : request.criteria) {
        std::vector<NoiseCounts>& ofCriterion = counts.emplace_back(request.parts.size());
        for (std::size_t part = 0; part < request.parts.size(); ++part) {
            ofCriterion[part].noiseSquare =
                noiseSquareIn(*request.parts[part], pair, criterion,
                              *request.settings.normalisation, ofCriterion[part].tested);
        }
    }
    NoisySearches(run, pair, request, watch).run(counts);
    return counts;
}

} // namespace zarngi
