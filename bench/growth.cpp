#include "growth.h"

#include <algorithm>
#include <limits>

#include "choosePair.h"
#include "computation.h"
#include "table.h"
#include "timing.h"

namespace bench
{

namespace
{

constexpr int roundsPerRepetition = 2;

void measureRow(const Table& table, const std::string& pair, const Criteria& criteria,
                const Options& options)
{
    setCriteria(criteria);
    double cpu = std::numeric_limits<double>::infinity();
    const double time = fastest(options.repetitions * roundsPerRepetition, [&] {
        const Run run = runLibrary(options.threads);
        cpu = std::min(cpu, run.cpuSeconds);
        return run.seconds;
    });
    const double perSecond = 1e6 / static_cast<double>(testedVoxels());
    table.print({pair, textOf(criteria), std::to_string(testedVoxels()), shortNumber(time),
                 shortNumber(perSecond * time), shortNumber(perSecond * cpu)});
}

void measureGrids(const Table& table, const Options& options)
{
    constexpr double edge = 250;
    for (const int n : {50, 100, 200}) {
        showProgress("synthetic " + std::to_string(n) + "^3");
        const double size = edge / n;
        Pair pair = syntheticPair(n, size, edge, fairShift);
        const std::string name = pair.name + " of " + shortNumber(size) + " mm";
        handOver(std::move(pair));
        measureRow(table, name, {3, 3, 3}, options);
    }
}

void measureSteps(const Table& table, const Options& options)
{
    for (const float steps : {5.0F, 10.0F, 20.0F, 50.0F, 100.0F}) {
        Criteria criteria{3, 3, 3};
        criteria.stepsPerDTA = steps;
        measureRow(table, nameOf(PairKind::similar, options), criteria, options);
    }
}

void measureSearchMaxima(const Table& table, const Options& options)
{
    for (const float largest : {1.0F, 2.0F, 3.0F, 5.0F, 10.0F, 0.0F}) {
        measureRow(table, nameOf(PairKind::similar, options), {1, 1, largest}, options);
    }
}

} // namespace

void measureGrowth(const Options& options)
{
    const Table table("Growth", {{"pair", 28},
                                 {"criteria", 30},
                                 {"tested voxels", 13},
                                 {"time s", 8},
                                 {"us / voxel", 10},
                                 {"CPU us / voxel", 14}});
    measureGrids(table, options);
    showProgress("growth with step and search maximum");
    handOver(choosePair(PairKind::similar, options));
    measureSteps(table, options);
    measureSearchMaxima(table, options);
}

} // namespace bench
