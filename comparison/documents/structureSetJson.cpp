#include "comparison/documents/structureSetJson.h"

#include <algorithm>
#include <array>
#include <memory>

#include "comparison/documents/json.h"
#include "files/structures/contourNotes.h"
#include "files/structures/region.h"

namespace zarngi
{

namespace
{

using files::Region;
using files::Structure;

/** Whether a plane's thickness follows from the file: from two planes of a structure. */
bool tellsSliceDistance(const std::vector<std::unique_ptr<Region>>& regions)
{
    return std::any_of(regions.begin(), regions.end(), [](const auto& region) {
        return region != nullptr && region->planes() > 1;
    });
}

void addRegion(DescribedStructure& described, const Region& region, bool tellsThickness)
{
    if (!described.structure.region) {
        described.planes = region.planes();
        described.contours = described.structure.contours.size();
    }
    if (region.planes() == 1 && !tellsThickness) {
        described.notes.emplace_back("has one plane, which is as thick as those of the dose grid");
        return;
    }
    described.volume = region.volume();
    if (described.structure.region && described.volume == 0.0) {
        described.notes.emplace_back("has no voxel");
    }
    for (std::string& note : region.notes()) {
        described.notes.push_back(std::move(note));
    }
}

template <class Value> Json orNull(const std::optional<Value>& value)
{
    return value ? Json(*value) : Json();
}

std::size_t vertexCount(const Structure& structure)
{
    std::size_t count = 0;
    for (const files::Contour& contour : structure.contours) {
        count += contour.vertices.size();
    }
    return count;
}

Json structureJson(const DescribedStructure& described)
{
    const Structure& structure = described.structure;
    const files::ContoursLeftOut& leftOut = structure.leftOut;
    return {{"name", structure.name},
            {"number", structure.number},
            {"type", structure.type},
            {"colour", structure.colour ? Json(colourName(structure)) : Json()},
            {"frameOfReference", structure.frameOfReference},
            {"planes", orNull(described.planes)},
            {"contours", orNull(described.contours)},
            {"vertices", described.contours ? Json(vertexCount(structure)) : Json()},
            {"leftOut", {{"points", leftOut.points}, {"open", leftOut.open}, {"few", leftOut.few}}},
            {"volume", orNull(described.volume)},
            {"refusal", structure.refusal.empty() ? Json() : Json(structure.refusal)},
            {"notes", described.notes}};
}

} // namespace

std::vector<DescribedStructure> describedStructures(const files::StructureSet& set)
{
    const auto regions = files::regionsOf(set, 0);
    const bool tellsThickness = tellsSliceDistance(regions);
    std::vector<DescribedStructure> described;
    for (std::size_t i = 0; i < set.structures.size(); ++i) {
        const Structure& structure = set.structures[i];
        described.push_back({structure, {}, {}, {}, files::contourNotes(structure)});
        if (regions[i]) {
            addRegion(described.back(), *regions[i], tellsThickness);
        } else {
            described.back().notes.insert(described.back().notes.begin(),
                                          "cannot be taken: " + structure.refusal);
        }
    }
    return described;
}

std::string colourName(const Structure& structure)
{
    constexpr const char* digits = "0123456789abcdef";
    std::string name = structure.colour ? "#" : "";
    for (const unsigned part : structure.colour.value_or(std::array<std::uint8_t, 3>{})) {
        if (structure.colour) {
            name += {digits[part / 16], digits[part % 16]};
        }
    }
    return name;
}

Json structureSetJson(const files::StructureSet& set)
{
    Json structures = Json::array();
    for (const DescribedStructure& described : describedStructures(set)) {
        structures.push_back(structureJson(described));
    }
    return {{"label", set.label},
            {"sopInstance", set.sopInstance},
            {"structures", std::move(structures)},
            {"warnings", set.warnings}};
}

} // namespace zarngi
