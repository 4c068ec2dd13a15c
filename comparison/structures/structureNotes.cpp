#include "comparison/structures/structureNotes.h"

#include <utility>

#include "comparison/text.h"
#include "files/structures/contourNotes.h"

namespace zarngi
{

namespace
{

using Notes = std::vector<std::string>;

std::string counted(std::size_t count, const std::string& what)
{
    return grouped(count) + " " + what + (count == 1 ? "" : "s");
}

void addOutside(Notes& notes, const files::OutsideGrid& outside)
{
    constexpr double nearlyAll = 1 - 1e-9;
    if (outside.share >= nearlyAll) {
        notes.emplace_back("lies wholly outside of the dose grid");
        return;
    }
    if (outside.share > 0) {
        notes.push_back("is cut by the edge of the dose grid: " + number(100 * outside.share, 3) +
                        " % of its volume lies outside");
    }
    if (outside.planes > 0) {
        notes.push_back("has " + counted(outside.planes, "plane") +
                        " below or above the dose grid");
    }
    if (outside.contours > 0) {
        notes.push_back("has " + counted(outside.contours, "contour") +
                        " outside of the dose grid");
    }
}

void addWithoutDose(Notes& notes, const StructureRow& row, std::size_t subPoints)
{
    const std::size_t without = row.evaluation ? row.evaluation->withoutDose : subPoints;
    if (without > 0) {
        notes.push_back(
            number(100 * static_cast<double>(without) / static_cast<double>(subPoints), 3) +
            " % of its volume lies outside of the evaluation, without a dose there");
    }
}

/** Of a structure of a file, apart from what its doses say. */
Notes notesOf(std::size_t place, const StructureCatalogue& catalogue,
              const files::OutsideGrid& outside)
{
    Notes notes = catalogue.region(place)->notes();
    for (std::string& note : files::contourNotes(catalogue.structure(place))) {
        notes.push_back(std::move(note));
    }
    addOutside(notes, outside);
    return notes;
}

/** Whether it has an inside: a structure of points has none, which its notes tell. */
bool hasVolume(const StructureRow& row, const StructureCatalogue& catalogue)
{
    if (!row.chosen.place) {
        return true;
    }
    const files::Structure& structure = catalogue.structure(*row.chosen.place);
    return structure.region || !structure.contours.empty();
}

} // namespace

std::vector<std::string> structureNotes(const StructureRow& row, std::size_t subPoints,
                                        const StructureCatalogue& catalogue, const Geometry& grid)
{
    Notes notes;
    if (row.chosen.place) {
        notes = notesOf(*row.chosen.place, catalogue, row.outside);
    } else {
        for (const std::size_t place : structuresIn(row.chosen.points)) {
            for (const std::string& note :
                 notesOf(place, catalogue, catalogue.region(place)->outside(grid))) {
                notes.push_back("its part " + catalogue.names()[place].unique + " " + note);
            }
        }
    }
    if (row.voxels.empty() && hasVolume(row, catalogue)) {
        notes.emplace_back("holds no voxel of the dose grid");
    }
    if (subPoints > 0) {
        addWithoutDose(notes, row, subPoints);
    }
    return notes;
}

} // namespace zarngi
