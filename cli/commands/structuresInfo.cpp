#include "cli/commands/structuresInfo.h"

#include <algorithm>
#include <map>
#include <set>

#include "cli/output/columns.h"
#include "comparison/documents/doseJson.h"
#include "comparison/documents/json.h"
#include "comparison/documents/structureSetJson.h"
#include "comparison/doseImage.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

using files::Structure;

using Row = std::vector<std::string>;

Row rowOf(const DescribedStructure& described)
{
    const auto count = [](const std::optional<std::size_t>& value) {
        return value ? std::to_string(*value) : std::string("-");
    };
    return {described.structure.name,        described.structure.type,
            colourName(described.structure), count(described.planes),
            count(described.contours),       described.volume ? fixed(*described.volume, 2) : "-"};
}

std::string alignedLine(const Row& row, const std::vector<std::size_t>& widths)
{
    constexpr std::size_t firstNumber = 3;
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (widths[i] == 0) {
            continue;
        }
        line += i > 0 ? "  " : "";
        line += i < firstNumber ? leftCell(row[i], widths[i]) : cell(row[i], widths[i]);
    }
    return line + "\n";
}

/** Takes away the columns in which no structure has anything. */
void dropEmptyColumns(std::vector<Row>& rows)
{
    for (std::size_t i = rows[0].size(); i-- > 0;) {
        const bool isEmpty = std::all_of(rows.begin() + 1, rows.end(), [i](const Row& row) {
            return row[i].empty() || row[i] == "-";
        });
        for (Row& row : rows) {
            row[i] = isEmpty ? "" : row[i];
        }
    }
}

/** Left-aligned texts, right-aligned numbers; long names are cut. */
std::string tableOf(std::vector<Row> rows)
{
    dropEmptyColumns(rows);
    constexpr std::size_t terminal = 79;
    constexpr std::size_t longestType = 16;
    std::vector<std::size_t> widths(rows[0].size());
    std::size_t others = 2 * (widths.size() - 1);
    for (std::size_t i = widths.size(); i-- > 0;) {
        const std::size_t most = i == 0 ? terminal - others : i == 1 ? longestType : terminal;
        for (Row& row : rows) {
            row[i] = shortened(row[i], most);
            widths[i] = std::max(widths[i], widthOf(row[i]));
        }
        others += widths[i];
    }
    std::string text;
    for (const Row& row : rows) {
        text += alignedLine(row, widths);
    }
    return text;
}

/** That of all structures; empty where they differ. */
std::string commonFrameOfReference(const files::StructureSet& set)
{
    std::set<std::string> frames;
    for (const Structure& structure : set.structures) {
        frames.insert(structure.frameOfReference);
    }
    return frames.size() == 1 ? *frames.begin() : std::string();
}

/** A line of a fact, if the file tells it. */
std::string fact(std::string name, const std::string& text)
{
    constexpr std::size_t nameWidth = 20;
    name.resize(nameWidth, ' ');
    return text.empty() ? text : name + text + "\n";
}

/** Digests of what structures are made of; that of a grid of labels is computed once. */
class Digests
{
public:
    std::string of(const Structure& structure)
    {
        return structure.region ? ofLabels(structure.region->grid.get())
                                : ofContours(structure.contours);
    }

private:
    template <class Number> static std::string digest(const std::vector<Number>& numbers)
    {
        return digestOf({reinterpret_cast<const unsigned char*>(numbers.data()),
                         numbers.size() * sizeof(Number)})
            .sha256;
    }

    std::string ofLabels(const files::LabelGrid* grid)
    {
        std::string& known = known_[grid];
        known = known.empty() ? digest(grid->labels) : known;
        return known;
    }

    static std::string ofContours(const std::vector<files::Contour>& contours)
    {
        std::vector<double> coordinates;
        for (const files::Contour& contour : contours) {
            for (const Vec3& vertex : contour.vertices) {
                coordinates.insert(coordinates.end(), vertex.begin(), vertex.end());
            }
        }
        return digest(coordinates);
    }

    std::map<const files::LabelGrid*, std::string> known_;
};

} // namespace

std::string describeStructures(const files::StructureSet& set)
{
    const std::vector<DescribedStructure> structures = describedStructures(set);
    std::vector<Row> rows = {{"name", "type", "colour", "planes", "contours", "cc"}};
    std::string notes;
    for (const DescribedStructure& described : structures) {
        rows.push_back(rowOf(described));
        for (const std::string& note : described.notes) {
            notes += fact("note", described.structure.name + ": " + note);
        }
    }
    std::string text =
        fact("file", oneLine(set.path)) + fact("format", set.format) + fact("label", set.label) +
        fact("frame of reference", commonFrameOfReference(set)) +
        fact("structures", std::to_string(structures.size())) + "\n" + tableOf(std::move(rows));
    for (const std::string& warning : set.warnings) {
        notes += fact("warning", warning);
    }
    return text + (notes.empty() ? "" : "\n") + notes;
}

Json structuresJson(const files::StructureSet& set, const FileDigests& digests)
{
    Json document = {{"file", fileJson(set.path, set.dataPath, set.format, digests)}};
    document.update(structureSetJson(set));
    Digests digestsOfStructures;
    for (std::size_t i = 0; i < set.structures.size(); ++i) {
        document["structures"][i]["sha256"] = digestsOfStructures.of(set.structures[i]);
    }
    if (set.structures.front().region) {
        const Geometry& grid = set.structures.front().region->grid->geometry;
        document["grid"] = {
            {"size", grid.size}, {"spacing", grid.spacing}, {"origin", grid.origin}};
    }
    return document;
}

} // namespace zarngi
