/**
 * @file structureSetJson.h
 * What a file of structures holds, for people and as a JSON document.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_STRUCTURESETJSON_H
#define ZARNGI_COMPARISON_DOCUMENTS_STRUCTURESETJSON_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "comparison/documents/json.h"
#include "files/structures/structureSet.h"

namespace zarngi
{

/** A structure and what follows from its contours or voxels. */
struct DescribedStructure {
    const files::Structure& structure;
    std::optional<std::size_t> planes;
    std::optional<std::size_t> contours;
    std::optional<double> volume; ///< cc
    std::vector<std::string> notes;
};

/** In the order of the set, which has to outlive them. */
std::vector<DescribedStructure> describedStructures(const files::StructureSet& set);

/** "#rrggbb", empty where the file tells no colour. */
std::string colourName(const files::Structure& structure);

/** Label, instance, structures and warnings; docs/json.md describes the members. */
Json structureSetJson(const files::StructureSet& set);

} // namespace zarngi

#endif
