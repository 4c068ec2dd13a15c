// The search on each vector path this CPU runs: none may be slower than the one below it.
#include <algorithm>
#include <iostream>
#include <vector>

#include "choosePair.h"
#include "commonOptions.h"
#include "computation.h"
#include "machine.h"
#include "paths/vectorPath.h"
#include "program.h"
#include "table.h"

namespace
{

using namespace bench;

const Criteria allCriteria[] = {
    {3, 3, 3},
    {1, 1, 10},
    {3, 3, 3, Criterion::global, Mode::gammaMap, Doses::interpolated, true},
};

/** A path and the best of its runs. */
struct Contender {
    const zarngi::engine::VectorPath* path;
    double seconds;
    Run run;
};

std::vector<Contender> contenders()
{
    std::vector<Contender> list;
    for (const zarngi::engine::VectorPath& path : zarngi::engine::vectorPaths) {
        if (path.supported()) {
            list.push_back({&path, 1e9, {}});
        }
    }
    return list;
}

/** Runs all paths in turn, so that other work on the machine strikes each of them alike. */
void race(std::vector<Contender>& list, int rounds, int threads)
{
    for (int round = 0; round < rounds; ++round) {
        for (Contender& contender : list) {
            zarngi::engine::forceVectorPath(contender.path);
            contender.run = runLibrary(threads);
            contender.seconds = std::min(contender.seconds, contender.run.seconds);
        }
    }
    zarngi::engine::forceVectorPath(nullptr);
}

/** Prints a row per path; returns whether all give the same result. */
bool print(const Table& table, const std::string& pair, const Criteria& criteria,
           const std::vector<Contender>& list)
{
    bool allAgree = true;
    const Contender* below = nullptr;
    for (const Contender& contender : list) {
        std::vector<std::string> cells{pair, textOf(criteria), contender.path->name,
                                       shortNumber(contender.seconds)};
        if (below == nullptr) {
            cells.insert(cells.end(), {"-", "-", "-"});
        } else {
            // A random rotation changes with the second; only one lattice can be compared.
            const Agreement agreement = criteria.randomRotation
                                            ? Agreement{true, "-"}
                                            : agreementOf(contender.run, below->run, false);
            const double ratio = below->seconds / contender.seconds;
            allAgree = allAgree && agreement.holds;
            cells.insert(cells.end(),
                         {shortNumber(ratio), ratio >= 1 ? "yes" : "no", agreement.text});
        }
        table.print(cells);
        below = &contender;
    }
    return allAgree;
}

bool measure(const Options& options)
{
    std::cout << machineDescription() << std::endl;
    const Table table("Vector paths", {{"pair", 12},
                                       {"criteria", 34},
                                       {"path", 8},
                                       {"time s", 8},
                                       {"times the one above", 19},
                                       {"met", 3},
                                       {"agreement", 9}});
    constexpr int roundsPerRepetition = 3;
    const std::string pair = nameOf(PairKind::similar, options);
    handOver(choosePair(PairKind::similar, options));
    bool allAgree = true;
    for (const Criteria& criteria : allCriteria) {
        if (!options.wants(pair + " " + textOf(criteria))) {
            continue;
        }
        showProgress(pair + " " + textOf(criteria));
        setCriteria(criteria);
        std::vector<Contender> list = contenders();
        race(list, options.repetitions * roundsPerRepetition, options.threads);
        allAgree = print(table, pair, criteria, list) && allAgree;
    }
    return allAgree;
}

} // namespace

int main(int argc, char** argv)
{
    return bench::runProgram({"zarngi_bench_paths", "The gamma search on each vector path.",
                              bench::declareCommon, measure},
                             argc, argv);
}
