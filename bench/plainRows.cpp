#include "plainRows.h"

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

enum class Length { quick, takesLong };

struct Row {
    PairKind pair;
    Criteria criteria;
    double target; ///< at least this many times as fast as the plain search
    Length plainSearch;
};

constexpr Criterion local = Criterion::local;
constexpr Criterion global = Criterion::global;

const Row rows[] = {
    {PairKind::similar, {3, 3, 3}, 60, Length::quick},
    {PairKind::similar, {2, 2, 3}, 160, Length::quick},
    {PairKind::similar, {3, 3, 3, local}, 80, Length::quick},
    {PairKind::similar, {1, 1, 10}, 340, Length::takesLong},
    {PairKind::similar, {3, 2, 0, global, Mode::passRate}, 60, Length::quick},
    {PairKind::similar, {3, 3, 3, global, Mode::gammaMap, Doses::nearest}, 20, Length::quick},
    {PairKind::opposed, {3, 3, 2}, 1000, Length::takesLong},
    {PairKind::similar, {3, 3, 3, global, Mode::gammaMap, Doses::inPlanes}, 40, Length::quick},
    {PairKind::similar,
     {3, 3, 3, global, Mode::gammaMap, Doses::interpolated, true},
     10,
     Length::quick},
};

/** What one row came to. */
struct Measured {
    double plain = std::numeric_limits<double>::infinity();
    double library = std::numeric_limits<double>::infinity();
    double plainCpu = std::numeric_limits<double>::infinity();
    double libraryCpu = std::numeric_limits<double>::infinity();
    Agreement agreement{true, "-"};
};

/** Runs of the library per run of the plain search: about as long, within bounds. */
int libraryRuns(double library)
{
    constexpr double seconds = 0.5;
    return std::clamp(static_cast<int>(seconds / library), 1, 20);
}

Measured measure(const Criteria& criteria, const Options& options)
{
    // Enough of the plain search when it has had this long, after two rounds at least.
    constexpr double enough = 40;
    Measured measured;
    double plainTotal = 0;
    for (int round = 0; round < options.repetitions; ++round) {
        Run library;
        const auto run = [&] {
            library = runLibrary(options.threads);
            measured.library = std::min(measured.library, library.seconds);
            measured.libraryCpu = std::min(measured.libraryCpu, library.cpuSeconds);
        };
        run();
        for (int i = libraryRuns(library.seconds); i > 0; --i) {
            run();
        }
        if (options.noPlain) {
            continue;
        }
        const Run plain = runPlain(criteria, options.threads);
        measured.plain = std::min(measured.plain, plain.seconds);
        measured.plainCpu = std::min(measured.plainCpu, plain.cpuSeconds);
        plainTotal += plain.seconds;
        const Agreement agreement = agreementOf(library, plain, criteria.randomRotation);
        if (measured.agreement.holds) {
            measured.agreement = agreement;
        }
        if (plainTotal > enough && round > 0) {
            break;
        }
    }
    return measured;
}

void print(const Table& table, const std::string& pair, const Row& row, const Measured& measured,
           bool withPlain)
{
    const double ratio = measured.plain / measured.library;
    const double cpuRatio = measured.plainCpu / measured.libraryCpu;
    table.print({pair, textOf(row.criteria), withPlain ? shortNumber(measured.plain) : "-",
                 shortNumber(measured.library), withPlain ? shortNumber(ratio) : "-",
                 withPlain ? shortNumber(cpuRatio) : "-", shortNumber(row.target),
                 withPlain ? (ratio >= row.target ? "yes" : "no") : "-", measured.agreement.text});
}

} // namespace

bool measureAgainstPlain(const Options& options)
{
    const Table table("Against the plain search", {{"pair", 20},
                                                   {"criteria", 34},
                                                   {"plain s", 8},
                                                   {"time s", 8},
                                                   {"ratio", 6},
                                                   {"CPU ratio", 9},
                                                   {"target", 6},
                                                   {"met", 3},
                                                   {"agreement", 9}});
    bool allAgree = true;
    for (const Row& row : rows) {
        const std::string pair = nameOf(row.pair, options);
        const std::string description = pair + " " + textOf(row.criteria);
        const bool tooLong = options.quick && row.plainSearch == Length::takesLong;
        if (tooLong || !options.wants(description)) {
            continue;
        }
        showProgress(description);
        handOver(choosePair(row.pair, options));
        setCriteria(row.criteria);
        const Measured measured = measure(row.criteria, options);
        allAgree = allAgree && measured.agreement.holds;
        print(table, pair, row, measured, !options.noPlain);
    }
    return allAgree;
}

} // namespace bench
