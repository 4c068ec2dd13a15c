#include "files/measurements/scorerText.h"

#include <algorithm>
#include <string>

#include "files/error.h"
#include "files/measurements/tableColumns.h"
#include "files/text.h"

namespace files
{

namespace
{

/** Whether a text holds a word, whatever the case. */
bool hasWord(std::string_view text, std::string_view word)
{
    const auto isLetter = [](char c) { return c >= 'a' && c <= 'z'; };
    const std::string lower = lowerCase(text);
    for (auto at = lower.find(word); at != std::string::npos; at = lower.find(word, at + 1)) {
        const auto end = at + word.size();
        if ((at == 0 || !isLetter(lower[at - 1])) &&
            (end == lower.size() || !isLetter(lower[end]))) {
            return true;
        }
    }
    return false;
}

} // namespace

bool isTextOfScorer(const std::vector<TextLine>& lines)
{
    const auto tellsScorer = [](const TextLine& line) {
        return isComment(line.text) && hasWord(line.text, "scorer");
    };
    return std::any_of(lines.begin(), lines.end(), tellsScorer);
}

bool tellsBins(const TextLine& line)
{
    return hasWord(line.text, "bin") || hasWord(line.text, "bins") || hasWord(line.text, "nbins");
}

void refuseScorer()
{
    refuseUnsupported(
        "is the text of a simulation's scorer, which tells no positions; let the simulation "
        "write its dose as DICOM RT Dose, MetaImage or NRRD");
}

void refuseBins(const TextLine& line)
{
    refuseUnsupported(
        "tells bins (" + placeOf(line) +
        "), so that its numbers may count them; write the unit beside the coordinates, as in x "
        "(mm) or y\\x (mm)");
}

} // namespace files
