#include "comparison/explanation/conclusion.h"

#include <algorithm>
#include <cmath>

#include "comparison/text.h"

namespace zarngi
{

namespace
{

constexpr std::array<const char*, 3> axisNames{"x", "y", "z"};

std::string percent(double share)
{
    return fixed(100 * share, share > 0.999 ? 2 : 1) + " %";
}

std::string shiftText(const Vec3& shift, ShiftAxes axes)
{
    const std::string direction = directionText(shift, axes);
    return direction.empty() ? "no shift" : fixed(lengthOf(shift), 1) + " mm (" + direction + ")";
}

std::string factorText(double factor)
{
    return "by " + fixed(factor, 4);
}

/** Where it fails after the change. */
std::string remainderText(const Explanation& explanation)
{
    const Remainder& rest = explanation.remainder;
    const std::size_t failed = explanation.both.failed;
    if (failed == 0) {
        return "";
    }
    std::string text = " What remains fails in ";
    if (rest.parts.empty()) {
        text += grouped(failed) + (failed == 1 ? " voxel" : " voxels") + " around " +
                fixed(rest.centre[0], 0) + ", " + fixed(rest.centre[1], 0) + ", " +
                fixed(rest.centre[2], 0) + " mm";
    } else {
        constexpr std::size_t most = 3;
        for (std::size_t i = 0; i < std::min(most, rest.parts.size()); ++i) {
            text += (i == 0 ? "" : ", ") + oneLine(rest.parts[i].first) + " (" +
                    grouped(rest.parts[i].second) + " of " + grouped(failed) + " voxels)";
        }
    }
    text += " (" + grouped(rest.sides.hot) + " hot, " + grouped(rest.sides.cold) + " cold";
    if (rest.unreached > 0) {
        text += ", " + grouped(rest.unreached) + " outside of the moved evaluation";
    }
    const std::size_t others = failed - rest.sides.hot - rest.sides.cold - rest.unreached;
    if (others > 0) {
        text += ", " + grouped(others) + " on neither side";
    }
    return text + ").";
}

std::string passText(const ChangeResult& result, const ChangeResult& before)
{
    return " lets " + percent(std::max(0.0, passingShare(result, before))) +
           " of the failed voxels pass";
}

/** Whether a bound was reached, by so much as values are rounded. */
bool isAtEnd(double value, double end)
{
    return std::fabs(value - end) < 0.005;
}

} // namespace

double passingShare(const ChangeResult& change, const ChangeResult& before)
{
    if (before.failed == 0) {
        return 0;
    }
    return 1 - static_cast<double>(change.failed) / static_cast<double>(before.failed);
}

Conclusion conclusionOf(const Explanation& explanation)
{
    if (explanation.before.failed == 0) {
        return Conclusion::nothingFailed;
    }
    const double both = passingShare(explanation.both, explanation.before);
    const double shift = passingShare(explanation.shiftAlone, explanation.before);
    const double factor = passingShare(explanation.factorAlone, explanation.before);
    const auto isEnough = [both](double alone) {
        return alone >= explainedShare && alone >= both - equalShare;
    };
    if (isEnough(factor) && factor >= shift) {
        return Conclusion::factor;
    }
    if (isEnough(shift)) {
        return Conclusion::shift;
    }
    return both >= explainedShare ? Conclusion::both : Conclusion::neither;
}

const char* conclusionName(Conclusion conclusion)
{
    switch (conclusion) {
    case Conclusion::nothingFailed:
        return "nothing failed";
    case Conclusion::shift:
        return "shift";
    case Conclusion::factor:
        return "factor";
    case Conclusion::both:
        return "both";
    case Conclusion::neither:
        break;
    }
    return "neither";
}

std::string directionText(const Vec3& shift, ShiftAxes axes)
{
    using Names = std::array<const char*, 3>;
    const bool isOfPatient = axes == ShiftAxes::patient;
    const Names positive = isOfPatient ? Names{"left", "posterior", "superior"}
                                       : Names{"along +x", "along +y", "along +z"};
    const Names negative = isOfPatient ? Names{"right", "anterior", "inferior"}
                                       : Names{"along -x", "along -y", "along -z"};
    std::string text;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::string length = fixed(std::fabs(shift[axis]), 1);
        if (length != "0.0") {
            text += (text.empty() ? "" : ", ") + length + " mm " +
                    (shift[axis] > 0 ? positive[axis] : negative[axis]);
        }
    }
    return text;
}

double lengthOf(const Vec3& shift)
{
    return std::sqrt(shift[0] * shift[0] + shift[1] * shift[1] + shift[2] * shift[2]);
}

std::string conclusionText(const Explanation& explanation)
{
    const ChangeResult& before = explanation.before;
    const ChangeResult& both = explanation.both;
    switch (explanation.conclusion) {
    case Conclusion::nothingFailed:
        return "No voxel failed: there is nothing to explain.";
    case Conclusion::shift:
        return "Explained by a shift: moving the evaluation by " +
               shiftText(explanation.shiftAlone.change.shift, explanation.shiftAxes) +
               passText(explanation.shiftAlone, before) + ".";
    case Conclusion::factor:
        return "Explained by a factor: multiplying the evaluation's doses " +
               factorText(explanation.factorAlone.change.factor) +
               passText(explanation.factorAlone, before) + ".";
    case Conclusion::both:
        return "Explained by a shift and a factor together: moving the evaluation by " +
               shiftText(both.change.shift, explanation.shiftAxes) + " and multiplying its doses " +
               factorText(both.change.factor) + passText(both, before) + ".";
    case Conclusion::neither:
        break;
    }
    return "Explained by neither a shift nor a factor: the best of both together" +
           passText(both, before) + "." + remainderText(explanation);
}

std::vector<std::string> explanationNotes(const Explanation& explanation)
{
    std::vector<std::string> notes;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::string name = axisNames[axis];
        const double shift = std::fabs(explanation.both.change.shift[axis]);
        switch (explanation.axes[axis]) {
        case AxisSearch::notDetermined:
            notes.push_back("not determined along " + name +
                            ": moving the evaluation along it changes nothing");
            break;
        case AxisSearch::ambiguous:
            notes.push_back("not determined along " + name +
                            ": the opposite shift makes the doses agree nearly as well");
            break;
        case AxisSearch::oneVoxel:
            notes.push_back("not searched along " + name +
                            ": the evaluation has one voxel along it");
            break;
        case AxisSearch::noRoom:
            notes.push_back("not searched along " + name +
                            ": the evaluation ends too near to the tested voxels");
            break;
        case AxisSearch::searched:
            if (isAtEnd(shift, explanation.bounds[axis])) {
                notes.push_back("the shift along " + name + " is at the end of its range of " +
                                number(explanation.bounds[axis]) + " mm: it may be larger");
            }
            break;
        }
    }
    const double factor = explanation.both.change.factor;
    if (isAtEnd(100 * factor, 100 * leastFactor) || isAtEnd(100 * factor, 100 * largestFactor)) {
        notes.emplace_back("the factor is at the end of its range of 0.9 to 1.1");
    }
    return notes;
}

} // namespace zarngi
