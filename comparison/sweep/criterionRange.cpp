#include "comparison/sweep/criterionRange.h"

#include <cmath>

#include "comparison/criterion.h"
#include "comparison/failure.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

/** A text, and where it stands in a request. */
struct Notation {
    const std::string& text;
    const MemberPlace& place;

    UsageError refusal(const std::string& reason) const
    {
        return refusalOf(place, Sentence("\"") + oneLine(text) + "\" " + reason);
    }
};

/** "1:5", "1:0.5:3" or "2". */
std::vector<double> valuesOfOne(const std::string& range, const Notation& whole)
{
    const std::vector<std::string> parts = split(range, ':');
    const UsageError form =
        whole.refusal("is not of the form 1:5%/1:5mm, 1:0.5:3%/2mm or 1:5%L/1,1.5,3mm");
    if (parts.empty() || parts.size() > 3) {
        throw form;
    }
    const double first = parseNumber(parts.front());
    const double last = parseNumber(parts.back());
    const double step = parts.size() == 3 ? parseNumber(parts[1]) : 1;
    if (!std::isfinite(first) || !std::isfinite(last) || !std::isfinite(step)) {
        throw form;
    }
    if (parts.size() == 1) {
        return {first};
    }
    if (last < first || step <= 0) {
        throw whole.refusal("does not rise from its first value to its last one");
    }
    constexpr double slack = 1e-6; // of a step, so that the last value is there
    const double steps = std::floor((last - first) / step + slack);
    if (steps >= static_cast<double>(mostCriteria)) {
        throw whole.refusal("holds more than " + std::to_string(mostCriteria) + " criteria");
    }
    std::vector<double> values;
    for (int i = 0; i <= static_cast<int>(steps); ++i) {
        constexpr double digits = 1e9; // 1.3, not 1.3000000000000003
        values.push_back(std::round((first + i * step) * digits) / digits);
    }
    return values;
}

/** "1:3,5"; the numbers are judged as parts of criteria afterwards. */
std::vector<double> valuesOf(const std::string& ranges, const Notation& whole)
{
    std::vector<double> values;
    const bool isComplete = !ranges.empty() && ranges.back() != ',';
    for (const std::string& range : isComplete ? split(ranges, ',') : std::vector{ranges}) {
        for (const double value : valuesOfOne(range, whole)) {
            if (!values.empty() && value <= values.back()) {
                throw whole.refusal("does not rise from its first value to its last one");
            }
            values.push_back(value);
        }
    }
    return values;
}

} // namespace

CriterionRange parseCriterionRange(const std::string& text, const MemberPlace& place)
{
    const Notation whole{text, place};
    const auto slash = text.find('/');
    std::string dose = trimmed(text.substr(0, slash));
    std::string distance = slash == std::string::npos ? "" : trimmed(text.substr(slash + 1));
    // What stands behind the numbers, and that they are in range, is judged with a criterion.
    const auto endOfNumbers = dose.find_first_not_of("0123456789.,:eE+- ");
    const std::string doseUnit = endOfNumbers == std::string::npos ? "" : dose.substr(endOfNumbers);
    const auto endOfDistances = distance.find_first_not_of("0123456789.,:eE+- ");
    const std::string distanceUnit =
        endOfDistances == std::string::npos ? "" : distance.substr(endOfDistances);
    CriterionRange range;
    range.text = text;
    range.doseDifferences = valuesOf(dose.substr(0, endOfNumbers), whole);
    range.distances = valuesOf(distance.substr(0, endOfDistances), whole);
    if (range.doseDifferences.size() * range.distances.size() > mostCriteria) {
        throw whole.refusal("holds more than " + std::to_string(mostCriteria) + " criteria");
    }
    for (const double value : {range.doseDifferences.front(), range.doseDifferences.back()}) {
        const double length = value == range.doseDifferences.front() ? range.distances.front()
                                                                     : range.distances.back();
        try {
            range.isLocal = parseCriterion(number(value, 9).append(doseUnit).append("/") +
                                           number(length, 9) + distanceUnit)
                                .isLocal;
        } catch (const UsageError&) {
            throw whole.refusal("is not of the form 1:5%/1:5mm, 1:0.5:3%/2mm or 1:5%L/1,1.5,3mm");
        }
    }
    return range;
}

} // namespace zarngi
