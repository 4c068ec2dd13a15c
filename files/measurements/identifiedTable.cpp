#include "files/measurements/identifiedTable.h"

#include <algorithm>

#include "files/error.h"
#include "files/measurements/scorerText.h"
#include "files/measurements/tableText.h"

namespace files
{

namespace
{

/** Heads of detector arrays of both forms, cylinder and plane. */
bool isHeadOfArray(const TextLine& line)
{
    return line.text.starts_with("File Revision:") || line.text.starts_with("Cal File:") ||
           line.text.starts_with("Dose per Count:") || line.text.starts_with("Dose Counts");
}

bool isHeadOfPlane(const TextLine& line)
{
    return line.text.starts_with("*Dose Units:") || line.text.starts_with("*Y\\X");
}

bool isRow(const TextLine& line)
{
    constexpr std::ptrdiff_t fewest = 3; // x, y, dose
    const std::optional<Separator> separator = separatorOf(line.text);
    const auto isOne = [&separator](std::string_view cell) { return isNumber(cell, *separator); };
    const auto cells = separator ? cellsOf(line.text, *separator) : std::vector<std::string_view>();
    return std::count_if(cells.begin(), cells.end(), isOne) >= fewest;
}

/** Of what goes on behind its end, without the last word, which may be a piece: "-", "1.2e". */
std::string_view withoutCutWord(std::string_view beginning)
{
    if (beginning.size() < identifyingBytes) {
        return beginning;
    }
    const auto end = beginning.find_last_of(" \t\n,;");
    return beginning.substr(0, end == std::string_view::npos ? 0 : end);
}

} // namespace

std::optional<FileFormat> identifiedTable(std::string_view beginning)
{
    beginning = withoutCutWord(beginning);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(beginning.data());
    const auto lines = resultOf([&] { return textLines({bytes, beginning.size()}); });
    if (!lines) {
        return {};
    }
    const auto has = [&lines](const auto& test) {
        return std::any_of(lines->begin(), lines->end(), test);
    };
    if (has(isHeadOfArray)) {
        return FileFormat::detectorArray;
    }
    if (has(isHeadOfPlane)) {
        return FileFormat::extractedPlane;
    }
    if (isTextOfScorer(*lines)) {
        return FileFormat::table;
    }
    return has(isRow) ? std::optional(FileFormat::table) : std::nullopt;
}

} // namespace files
