#include "comparison/structures/structureLimits.h"

#include <utility>

#include "comparison/failure.h"
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

StructureLimits::StructureLimits(std::string option, const std::vector<std::string>& texts)
    : option_(std::move(option))
{
    for (const std::string& text : texts) {
        const ForStructures split = splitAtLastColon(text);
        const double percent = parseNumber(split.text);
        if (!(percent >= 0 && percent <= 100)) {
            throw UsageError(option_ + ": \"" + oneLine(split.text) +
                             "\" is not a percentage from 0 to 100");
        }
        if (!split.pattern.empty()) {
            own_.push_back({split.pattern, percent});
        } else if (split.text != text) {
            throw UsageError(option_ + ": \"" + oneLine(text) + "\" names no structure");
        } else if (general_) {
            throw UsageError(option_ + ": a percentage for all voxels is given twice");
        } else {
            general_ = percent;
        }
    }
}

std::vector<std::optional<double>>
StructureLimits::of(const std::vector<StructureName>& structures) const
{
    std::vector<std::optional<double>> limits(structures.size());
    for (const Own& own : own_) {
        for (const std::size_t place : matchesOf(option_, structures, own.pattern)) {
            limits[place] = own.percent;
        }
    }
    return limits;
}

} // namespace zarngi
