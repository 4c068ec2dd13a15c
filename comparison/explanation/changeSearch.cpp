#include "comparison/explanation/changeSearch.h"

#include <algorithm>
#include <cmath>

#include "comparison/failure.h"

namespace zarngi
{

namespace
{

/** Computations that an explanation takes at most; what is told of the progress goes by it. */
constexpr double mostComputations = 200;

/** The mean of paired differences in units of its standard error; 0 where all are 0. */
double significance(const std::vector<double>& a, const std::vector<double>& b)
{
    const auto count = static_cast<double>(a.size());
    double mean = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        mean += b[i] - a[i];
    }
    mean /= count;
    double variance = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const double deviation = b[i] - a[i] - mean;
        variance += deviation * deviation;
    }
    const double error = std::sqrt(variance) / count;
    constexpr double noticed = 1e-4; // far above the rounding of positions in single precision
    if (std::fabs(mean) < noticed) {
        return 0;
    }
    return error > 0 ? std::fabs(mean) / error : count;
}

} // namespace

double parameterOf(const DoseChange& change, std::size_t parameter)
{
    return parameter == factorParameter ? (change.factor - 1) * 100 : change.shift[parameter];
}

void setParameter(DoseChange& change, std::size_t parameter, double value)
{
    if (parameter == factorParameter) {
        change.factor = 1 + value / 100;
    } else {
        change.shift[parameter] = value;
    }
}

DoseChange rounded(DoseChange change)
{
    for (double& shift : change.shift) {
        shift = std::round(shift * 100) / 100 + 0.0; // no negative zero
    }
    change.factor = std::round(change.factor * 10000) / 10000;
    return change;
}

ChangeSearch::ChangeSearch(Trials& trials, const Vec3& bounds, const WatchExplanation& watch,
                           double allVoxels)
    : trials_(trials), bounds_(bounds), watch_(watch), allVoxels_(allVoxels)
{
}

double ChangeSearch::lower(std::size_t parameter) const
{
    return parameter == factorParameter ? (leastFactor - 1) * 100 : -bounds_[parameter];
}

double ChangeSearch::upper(std::size_t parameter) const
{
    return parameter == factorParameter ? (largestFactor - 1) * 100 : bounds_[parameter];
}

void ChangeSearch::compute(const DoseChange& change, double widening, double maxGamma)
{
    const double done = trials_.voxelsComputed() / allVoxels_ / mostComputations;
    if (watch_ && !watch_(std::min(done, 1.0))) {
        throw InputError("the explanation was interrupted", FailureKind::interrupted);
    }
    trials_.compute(change, widening, maxGamma);
}

DoseChange ChangeSearch::search(const Parameters& free, const DoseChange& start, double widening,
                                const std::array<double, parameterCount>& edges,
                                const SimplexSettings& settings)
{
    SimplexSpace space;
    std::vector<std::size_t> searched;
    for (std::size_t parameter = 0; parameter < parameterCount; ++parameter) {
        if (free[parameter]) {
            searched.push_back(parameter);
            space.lower.push_back(lower(parameter));
            space.upper.push_back(upper(parameter));
            space.start.push_back(
                std::clamp(parameterOf(start, parameter), space.lower.back(), space.upper.back()));
            space.steps.push_back(edges[parameter]);
        }
    }
    if (searched.empty()) {
        return start;
    }
    const auto changeAt = [&](const Place& place) {
        DoseChange change = start;
        for (std::size_t i = 0; i < searched.size(); ++i) {
            setParameter(change, searched[i], place[i]);
        }
        return change;
    };
    const Minimum minimum = minimiseBySimplex(
        [&](const Place& place) {
            compute(changeAt(place), widening);
            return trials_.badness();
        },
        space, settings);
    return changeAt(minimum.place);
}

DoseChange ChangeSearch::bestOf(const std::vector<DoseChange>& changes)
{
    DoseChange best;
    double least = 0;
    for (std::size_t i = 0; i < changes.size(); ++i) {
        compute(changes[i]);
        const double badness = trials_.badness();
        if (i == 0 || badness < least) {
            best = changes[i];
            least = badness;
        }
    }
    return best;
}

bool ChangeSearch::matters(std::size_t axis, double spacing, double widening)
{
    // Beyond chance: the differences of noisy doses have a mean within some standard errors of 0.
    constexpr double beyondChance = 6;
    const double move = std::max(1.0, std::floor(bounds_[axis] / spacing)) * spacing;
    compute({}, widening);
    const std::vector<double> unmoved = trials_.badnesses();
    for (const double shift : {move, -move}) {
        DoseChange change;
        change.shift[axis] = shift;
        compute(change, widening);
        if (significance(unmoved, trials_.badnesses()) > beyondChance) {
            return true;
        }
    }
    return false;
}

bool ChangeSearch::isAmbiguous(const DoseChange& best, std::size_t axis)
{
    constexpr double told = 0.05; // mm, what is not rounded to 0.0
    constexpr double nearlyAsMuch = 0.5;
    if (std::fabs(best.shift[axis]) < told) {
        return false;
    }
    const auto badnessAt = [&](double shift) {
        DoseChange change = best;
        change.shift[axis] = shift;
        compute(change);
        return trials_.badness();
    };
    const double none = badnessAt(0);
    const double gain = none - badnessAt(best.shift[axis]);
    return none - badnessAt(-best.shift[axis]) > nearlyAsMuch * gain;
}

double ChangeSearch::endOfRange(const DoseChange& best, std::size_t parameter, double end,
                                double limit)
{
    const auto keeps = [&](double value) {
        DoseChange change = best;
        setParameter(change, parameter, value);
        compute(change);
        return trials_.passRate() >= limit;
    };
    const double middle = parameterOf(best, parameter);
    const double direction = end < middle ? -1 : 1;
    const double farthest = std::fabs(end - middle);
    double inside = 0;
    double outside = farthest;
    bool isBounded = false;
    double distance = 0.1;
    while (distance < farthest && !isBounded) {
        if (keeps(middle + direction * distance)) {
            inside = distance;
        } else {
            outside = distance;
            isBounded = true;
        }
        distance *= 4;
    }
    if (!isBounded && (farthest == 0 || keeps(end))) {
        return end;
    }
    constexpr double precision = 0.1; // of the distance, from 0.5 mm or percent on
    while (outside - inside > precision * std::max(outside, 0.5)) {
        const double between = (inside + outside) / 2;
        (keeps(middle + direction * between) ? inside : outside) = between;
    }
    return middle + direction * inside;
}

Interval ChangeSearch::range(const DoseChange& best, std::size_t parameter, double limit)
{
    const double first = endOfRange(best, parameter, lower(parameter), limit);
    return {first, endOfRange(best, parameter, upper(parameter), limit)};
}

} // namespace zarngi
