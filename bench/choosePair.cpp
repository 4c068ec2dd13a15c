#include "choosePair.h"

namespace bench
{

namespace
{

bool useMeasured(const Options& options)
{
    return options.synthetic == 0 && haveMeasuredPairs();
}

/** Displaced by nearly half its size, a target meets little but the dose around it. */
std::array<double, 3> farShift(double period)
{
    return {0.2 * period, 0, 0.1 * period};
}

} // namespace

std::string nameOf(PairKind kind, const Options& options)
{
    if (useMeasured(options)) {
        return kind == PairKind::similar ? "head-neck" : "proton beam1 / beam2";
    }
    return kind == PairKind::similar ? "synthetic" : "synthetic, displaced";
}

Pair choosePair(PairKind kind, const Options& options)
{
    if (useMeasured(options)) {
        return kind == PairKind::similar ? headNeckPair() : protonPair();
    }
    constexpr int usual = 100;
    constexpr double size = 2.5;
    const int n = options.synthetic > 0 ? options.synthetic : usual;
    const double period = n * size;
    return syntheticPair(n, size, period, kind == PairKind::similar ? fairShift : farShift(period));
}

} // namespace bench
