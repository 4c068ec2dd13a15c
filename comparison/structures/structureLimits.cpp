#include "comparison/structures/structureLimits.h"

#include "comparison/failure.h"
#include "comparison/request/typedNumber.h"
#include "comparison/text.h"

namespace zarngi
{

ForStructures splitAtLastColon(const std::string& text)
{
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos) {
        return {"", text};
    }
    return {text.substr(0, colon), text.substr(colon + 1)};
}

StructureLimits::StructureLimits(Member member, const std::vector<std::string>& texts)
    : member_(member)
{
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const std::string& text = texts[i];
        const MemberPlace place{member, i};
        const ForStructures split = splitAtLastColon(text);
        const double percent = parseTyped(split.text);
        if (!(percent >= 0 && percent <= 100)) {
            throw refusalOf(place, Sentence("\"") + oneLine(split.text) +
                                       "\" is not a percentage from 0 to 100");
        }
        if (!split.pattern.empty()) {
            own_.push_back({split.pattern, percent});
        } else if (split.text != text) {
            throw refusalOf(place, Sentence("\"") + oneLine(text) + "\" names no structure");
        } else if (general_) {
            throw refusalOf(place, "a percentage for all voxels is given twice");
        } else {
            general_ = percent;
        }
    }
}

void StructureLimits::keepOwn(const std::function<bool(const std::string& pattern)>& isKept)
{
    std::erase_if(own_, [&](const Own& own) { return !isKept(own.pattern); });
}

std::vector<std::string> StructureLimits::texts() const
{
    std::vector<std::string> texts;
    if (general_) {
        texts.push_back(exactNumber(*general_));
    }
    for (const Own& own : own_) {
        texts.push_back(own.pattern + ":" + exactNumber(own.percent));
    }
    return texts;
}

std::vector<std::optional<double>>
StructureLimits::of(const std::vector<StructureName>& structures) const
{
    std::vector<std::optional<double>> limits(structures.size());
    for (const Own& own : own_) {
        for (const std::size_t place : matchesOf({member_}, structures, own.pattern)) {
            limits[place] = own.percent;
        }
    }
    return limits;
}

} // namespace zarngi
