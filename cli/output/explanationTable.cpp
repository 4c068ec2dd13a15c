#include "cli/output/explanationTable.h"

#include <cmath>

#include "cli/output/columns.h"
#include "comparison/explanation/conclusion.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

constexpr std::array<const char*, 3> axisNames{"x", "y", "z"};

std::string describeShift(const Vec3& shift, ShiftAxes axes)
{
    const std::string direction = directionText(shift, axes);
    return direction.empty() ? "none" : direction + ": " + fixed(lengthOf(shift), 1) + " mm";
}

std::string describeFactor(double factor)
{
    const double percent = (factor - 1) * 100;
    const std::string sign = percent > 0 ? "+" : "";
    return fixed(factor, 4) + (factor == 1 ? "" : " (" + sign + fixed(percent, 2) + " %)");
}

std::string describeRate(const ChangeResult& result)
{
    return cell(fixed(result.passRate, 4), 10) + " %" + cell(std::to_string(result.failed), 9) +
           " failed";
}

std::string describeRanges(const Explanation& explanation)
{
    std::string text;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (const std::optional<Interval>& interval = explanation.shiftWithin[axis]) {
            text += std::string(axisNames[axis]) + " " + fixed(interval->lower, 2) + " to " +
                    fixed(interval->upper, 2) + " mm, ";
        }
    }
    return text + "factor " + fixed(explanation.factorWithin.lower, 4) + " to " +
           fixed(explanation.factorWithin.upper, 4);
}

} // namespace

std::string describeExplanation(const Explanation& explanation)
{
    const std::string where =
        explanation.within.empty() ? "" : " in " + oneLine(explanation.within);
    std::string text = "\nexplanation of " + explanation.criterion.label() + where +
                       ": what moving and scaling the evaluation would give\n";
    text += line("shift", describeShift(explanation.both.change.shift, explanation.shiftAxes));
    text += line("factor", describeFactor(explanation.both.change.factor));
    text += line("as it is", describeRate(explanation.before));
    text += line("with both", describeRate(explanation.both));
    text += line("shift alone",
                 describeRate(explanation.shiftAlone) + ", " +
                     describeShift(explanation.shiftAlone.change.shift, explanation.shiftAxes));
    text += line("factor alone", describeRate(explanation.factorAlone).substr(1) + ", " +
                                     describeFactor(explanation.factorAlone.change.factor));
    text += line("within 0.1", describeRanges(explanation));
    text += line("meaning", conclusionText(explanation));
    for (const std::string& note : explanationNotes(explanation)) {
        text += line("note", note);
    }
    return text + line("time", fixed(explanation.seconds, 3) + " s for " +
                                   std::to_string(explanation.computations) +
                                   " searches, as many voxels as in " +
                                   fixed(std::ceil(explanation.cost), 0) + " whole ones");
}

std::string describeSweep(const Sweep& sweep)
{
    const std::vector<double>& distances = sweep.range.distances;
    std::string text;
    for (const SweepPart& part : sweep.parts) {
        text += "\npass rates by criterion" + std::string(sweep.range.isLocal ? ", local" : "") +
                (part.name.empty() ? "" : ", " + oneLine(part.name)) + ", " +
                std::to_string(part.counts.front().tested) + " tested\n" + cell("", 8);
        for (const double distance : distances) {
            text += cell(number(distance) + "mm", 10);
        }
        for (std::size_t i = 0; i < part.counts.size(); ++i) {
            if (i % distances.size() == 0) {
                const double dose = sweep.range.doseDifferences[i / distances.size()];
                text += '\n';
                text += cell(number(dose) + (sweep.range.isLocal ? "%L" : "%"), 8);
            }
            const SweepCount& count = part.counts[i];
            text += cell(count.tested > 0 ? fixed(count.passRate, 4) : "-", 10);
        }
        text += "\n";
    }
    return text;
}

} // namespace zarngi
