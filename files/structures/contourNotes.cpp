#include "files/structures/contourNotes.h"

#include "files/text.h"

namespace files
{

namespace
{

void addKind(std::string& list, std::size_t count, const char* one, const char* several)
{
    if (count > 0) {
        list += (list.empty() ? "" : ", ") + grouped(count) + " " + (count == 1 ? one : several);
    }
}

} // namespace

std::vector<std::string> contourNotes(const Structure& structure)
{
    const ContoursLeftOut& leftOut = structure.leftOut;
    std::string list;
    addKind(list, leftOut.points, "point", "points");
    addKind(list, leftOut.open, "open contour", "open contours");
    addKind(list, leftOut.few, "contour of fewer than three vertices",
            "contours of fewer than three vertices");
    if (!structure.region && structure.contours.empty() && structure.refusal.empty()) {
        return {list.empty() ? "has no contours, and so no volume"
                             : "has no closed contours (" + list + " left out), and so no volume"};
    }
    return list.empty() ? std::vector<std::string>()
                        : std::vector{list + " left out, without an inside"};
}

} // namespace files
