#include "files/formats/nrrd/header.h"

#include <algorithm>
#include <set>

#include "files/error.h"
#include "files/text.h"

namespace files::nrrd
{

namespace
{

const std::set<std::string, std::less<>>& knownFields()
{
    static const std::set<std::string, std::less<>> fields = {"type",
                                                              "dimension",
                                                              "sizes",
                                                              "endian",
                                                              "encoding",
                                                              "content",
                                                              "number",
                                                              "min",
                                                              "max",
                                                              "old min",
                                                              "oldmin",
                                                              "old max",
                                                              "oldmax",
                                                              "block size",
                                                              "blocksize",
                                                              "data file",
                                                              "datafile",
                                                              "line skip",
                                                              "lineskip",
                                                              "byte skip",
                                                              "byteskip",
                                                              "sample units",
                                                              "sampleunits",
                                                              "spacings",
                                                              "thicknesses",
                                                              "axis mins",
                                                              "axismins",
                                                              "axis maxs",
                                                              "axismaxs",
                                                              "centers",
                                                              "centerings",
                                                              "labels",
                                                              "units",
                                                              "kinds",
                                                              "space",
                                                              "space dimension",
                                                              "space units",
                                                              "space origin",
                                                              "space directions",
                                                              "measurement frame"};
    return fields;
}

/** A line "field: value", the blank included; "key:=value" tells nothing about the grid. */
void addLine(Header& header, std::string_view line)
{
    const auto colon = line.find(':');
    const bool isKeyAndValue = line.find(":=") != std::string_view::npos;
    const std::string field = lowerCase(stripped(line.substr(0, colon)));
    const bool isField = colon != std::string_view::npos && line.substr(colon, 2) == ": " &&
                         knownFields().contains(field);
    if (isField) {
        header.add(field, line.substr(colon + 1));
    } else if (isKeyAndValue) {
        header.keysAndValues.push_back(line);
    } else {
        refuseDamaged("its header has a line that is no field of NRRD: \"" + excerpt(line) + "\"");
    }
}

void checkVersion(std::string_view line)
{
    constexpr std::string_view magic = "NRRD000";
    const bool isKnown = line.size() == magic.size() + 1 && line.starts_with(magic) &&
                         line.back() >= '1' && line.back() <= '5';
    if (!isKnown) {
        refuseUnsupported("is of an unknown version of NRRD, \"" + excerpt(line) +
                          "\" (accepted: NRRD0001 to NRRD0005)");
    }
}

} // namespace

Header parseHeader(ByteView file)
{
    constexpr std::size_t longestHeader = 1 << 20;
    Header header;
    Lines lines(part(file, 0, longestHeader));
    checkVersion(lines.next().value_or(""));
    while (const auto line = lines.next()) {
        if (line->empty()) {
            header.length = lines.position();
            return header;
        }
        if (!line->starts_with('#')) {
            addLine(header, *line);
        }
    }
    if (header.findAny({"data file", "datafile"}) == nullptr || file.size() > longestHeader) {
        refuseDamaged("its header has no end (an empty line)");
    }
    return header;
}

std::vector<std::string> itemsOf(std::string_view entry, char open, char close)
{
    std::vector<std::string> items;
    while (!stripped(entry).empty()) {
        entry.remove_prefix(entry.find_first_not_of(" \t"));
        const bool isEnclosed = entry.front() == open;
        const auto end = isEnclosed ? entry.find(close, 1) : entry.find_first_of(" \t");
        if (isEnclosed && end == std::string_view::npos) {
            return {};
        }
        const std::size_t length = std::min(end, entry.size());
        items.emplace_back(isEnclosed ? entry.substr(1, length - 1) : entry.substr(0, length));
        entry.remove_prefix(isEnclosed ? length + 1 : length);
    }
    return items;
}

} // namespace files::nrrd
