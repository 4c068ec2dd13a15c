#include "comparison/criterion.h"

#include <algorithm>
#include <cctype>
#include <vector>

#include "comparison/failure.h"
#include "comparison/request/typedNumber.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

/** Takes `tail` off the end of the text, when it is there. */
bool dropTail(std::string& text, std::string_view tail)
{
    const bool isThere = text.ends_with(tail);
    if (isThere) {
        text.resize(text.size() - tail.size());
    }
    return isThere;
}

std::string normalised(std::string text)
{
    std::erase_if(text, [](unsigned char c) { return std::isspace(c) != 0; });
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

bool isUsable(double value)
{
    return static_cast<float>(value) > 0 && value < 1e6;
}

} // namespace

std::string Criterion::label() const
{
    return number(doseDifference) + (isLocal ? "%L/" : "%/") + number(distance) + "mm";
}

std::string Criterion::fileLabel() const
{
    return number(doseDifference) + (isLocal ? "L-" : "G-") + number(distance) + "mm";
}

Criterion parseCriterion(const std::string& text, const MemberPlace& place)
{
    std::vector<std::string> parts = split(normalised(text), '/');
    parts.resize(std::max<std::size_t>(parts.size(), 2));
    std::string& dose = parts[0];
    std::string& distance = parts[1];
    Criterion criterion;
    criterion.isLocal = dropTail(dose, "l");
    if (!criterion.isLocal) {
        dropTail(dose, "g");
    }
    const bool hasUnits = parts.size() == 2 && dropTail(dose, "%") && dropTail(distance, "mm");
    criterion.doseDifference = parseTyped(dose);
    criterion.distance = parseTyped(distance);
    if (!hasUnits || !isUsable(criterion.doseDifference) || !isUsable(criterion.distance)) {
        throw refusalOf(place, Sentence("\"") + oneLine(text) +
                                   "\" is not of the form 3%/2mm, 3%G/2mm or 2%L/2mm");
    }
    return criterion;
}

} // namespace zarngi
