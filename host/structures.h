/**
 * @file structures.h
 * What the C interface calls structures.
 */
#ifndef ZARNGI_HOST_STRUCTURES_H
#define ZARNGI_HOST_STRUCTURES_H

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "comparison/structures/structureCatalogue.h"
#include "files/structures/structureSet.h"
#include "host/libZarnGIHost.h"

struct zarnGIHost_Structures {
    files::StructureSet set;
};

namespace host
{

/** Whether there are as many files of structures as are told. */
inline bool areThere(const zarnGIHost_Structures* const* sets, std::size_t count)
{
    return count == 0 || (sets != nullptr && std::none_of(sets, sets + count, [](const auto* set) {
                              return set == nullptr;
                          }));
}

/** The structures of some files, for a grid. */
inline std::shared_ptr<const zarngi::StructureCatalogue>
catalogueOf(const zarnGIHost_Structures* const* sets, std::size_t count,
            const zarnGIHost_Volume& grid)
{
    std::vector<files::StructureSet> copies;
    for (std::size_t i = 0; i < count; ++i) {
        copies.push_back(sets[i]->set);
    }
    return std::make_shared<zarngi::StructureCatalogue>(std::move(copies), grid.spacing[2]);
}

} // namespace host

#endif
