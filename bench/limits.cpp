#include "limits.h"

#include <algorithm>

#include "choosePair.h"
#include "computation.h"
#include "engineState.h"
#include "peakMemory.h"
#include "searchTime.h"
#include "table.h"
#include "timing.h"

namespace bench
{

namespace
{

constexpr Criteria usualCriteria{3, 3, 3};

/** Rounds that a limit's two sides take in turn, per repetition asked for. */
constexpr int roundsPerRepetition = 3;

/** A measured value and the limit it is to keep. */
struct Limit {
    double value;
    double limit;
    bool atMost;

    [[nodiscard]] std::string text() const
    {
        return (atMost ? "at most " : "at least ") + shortNumber(limit);
    }
    [[nodiscard]] bool kept() const { return atMost ? value <= limit : value >= limit; }
};

/** The table, and the rows that are asked for. */
class LimitTable
{
public:
    explicit LimitTable(const Options& options)
        : options_(options), table_("Limits", {{"row", 44},
                                               {"measured", 30},
                                               {"compared with", 30},
                                               {"value", 6},
                                               {"limit", 13},
                                               {"met", 3},
                                               {"agreement", 9}})
    {
    }

    bool wants(const std::string& row) const
    {
        const bool wanted = options_.wants(row);
        if (wanted) {
            showProgress(row);
        }
        return wanted;
    }

    void print(const std::string& row, const std::string& measured, const std::string& against,
               const Limit& limit, const std::string& agreement = "-") const
    {
        table_.print({row, measured, against, shortNumber(limit.value), limit.text(),
                      limit.kept() ? "yes" : "no", agreement});
    }

private:
    const Options& options_;
    Table table_;
};

std::string seconds(double value)
{
    return shortNumber(value) + " s";
}

void measureStep(const LimitTable& table, const Options& options)
{
    const std::string row =
        nameOf(PairKind::similar, options) + " " + textOf(usualCriteria) + ", step size";
    if (!table.wants(row)) {
        return;
    }
    handOver(choosePair(PairKind::similar, options));
    Criteria fine = usualCriteria;
    fine.stepsPerDTA = 100;
    const auto timed = [&](const Criteria& criteria) {
        setCriteria(criteria);
        return secondsOfLibrary(options.threads);
    };
    const Duel time = inTurn(
        options.repetitions, [&] { return timed(fine); }, [&] { return timed(usualCriteria); });
    table.print(row, "DTA/100: " + seconds(time.first), "DTA/10: " + seconds(time.second),
                {time.first / time.second, 20, true});
}

/** Returns whether one thread and two give the same bits. */
bool measureThreads(const LimitTable& table, const Options& options, PairKind pair)
{
    const std::string row =
        nameOf(pair, options) + " " + textOf(usualCriteria) + ", threads (search)";
    if (!table.wants(row)) {
        return true;
    }
    handOver(choosePair(pair, options));
    setCriteria(usualCriteria);
    Run one;
    Run two;
    const auto timed = [](Run& run, int threads) {
        resetSearchTime();
        run = runLibrary(threads);
        return searchTime();
    };
    const Duel time = inTurn(
        options.repetitions * roundsPerRepetition, [&] { return timed(two, 2); },
        [&] { return timed(one, 1); });
    const Agreement agreement = agreementOf(one, two, false);
    table.print(row, "two: " + seconds(time.first), "one: " + seconds(time.second),
                {time.second / time.first, 1.8, false}, agreement.text);
    return agreement.holds;
}

void measureApart(const LimitTable& table, const Options& options)
{
    Criteria criteria = usualCriteria;
    criteria.gammaSearchMax = 0;
    constexpr int n = 20;
    constexpr double size = 2.5;
    constexpr float metre = 1000;
    Pair pair = syntheticPair(n, size, n * size, fairShift);
    const std::string row = pair.name + " " + textOf(criteria) + ", a metre apart";
    if (!table.wants(row)) {
        return;
    }
    pair.evaluation.x0[0] = static_cast<float>(n * size) + metre;
    handOver(std::move(pair));
    setCriteria(criteria);
    const double time =
        fastest(options.repetitions, [&] { return secondsOfLibrary(options.threads); });
    table.print(row, seconds(time), std::to_string(testedVoxels()) + " tested voxels",
                {time, 1, true});
}

/** Seconds per tested voxel of the usual criteria on a cube of `n` voxels of 2 mm. */
double scaleOf(int n, int runs, int threads)
{
    constexpr double size = 2;
    constexpr double period = 250;
    handOver(syntheticPair(n, size, period, fairShift));
    setCriteria(usualCriteria);
    resetPeakMemory();
    const double time = fastest(runs, [&] { return secondsOfLibrary(threads); });
    return time / static_cast<double>(testedVoxels());
}

void measureScale(const LimitTable& table, const Options& options)
{
    const std::string row = "synthetic " + textOf(usualCriteria) + ", 500^3 against 125^3";
    if (!options.scale || !table.wants(row)) {
        return;
    }
    const double small = scaleOf(125, options.repetitions * roundsPerRepetition, options.threads);
    const double large = scaleOf(500, std::min(options.repetitions, 2), options.threads);
    const double peak = peakMemory();
    const double allowed = static_cast<double>(2 * Env->N_ref + Env->N_eval) * sizeof(float) +
                           static_cast<double>(testedVoxels() * sizeof(ActiveVoxel));
    const double share =
        static_cast<double>(testedVoxels()) / static_cast<double>(Env->N_ref) * 100;
    const auto perVoxel = [](double time) { return shortNumber(1e6 * time) + " us / voxel"; };
    table.print(row, perVoxel(large), perVoxel(small), {large / small, 1.3, true});
    constexpr double megabyte = 1e6;
    table.print("synthetic 500^3, peak memory (" + shortNumber(share) + " % tested)",
                shortNumber(peak / megabyte) + " MB",
                "maps + records: " + shortNumber(allowed / megabyte) + " MB",
                {peak / allowed, 1.1, true});
}

} // namespace

bool measureLimits(const Options& options)
{
    const LimitTable table(options);
    measureStep(table, options);
    bool allAgree = measureThreads(table, options, PairKind::similar);
    allAgree = measureThreads(table, options, PairKind::opposed) && allAgree;
    measureApart(table, options);
    measureScale(table, options);
    return allAgree;
}

} // namespace bench
