#include <memory>
#include <string>

#include "comparison/documents/json.h"
#include "comparison/documents/structureSetJson.h"
#include "files/nativeDeflate.h"
#include "files/structures/readStructures.h"
#include "files/structures/region.h"
#include "host/calls.h"
#include "host/structures.h"

using files::FileError;
using host::guarded;
using host::refuseArgument;
using host::report;

namespace
{

constexpr const char* nullArgument = "a required pointer is null";

int hand(files::Result<files::StructureSet> result, zarnGIHost_Structures** structures,
         zarnGIHost_Error* error)
{
    if (!result) {
        return report(result.error(), error);
    }
    *structures = new zarnGIHost_Structures{std::move(*result)};
    return ZARNGI_HOST_OK;
}

files::StructureSet maskOf(const char* name, const zarnGIHost_Volume& mask)
{
    auto grid = std::make_shared<files::LabelGrid>();
    grid->geometry = host::geometryOf(mask);
    const auto* const values = static_cast<const unsigned char*>(mask.values);
    grid->labels.resize(grid->geometry.voxels());
    for (std::size_t i = 0; i < grid->labels.size(); ++i) {
        grid->labels[i] = values[i] != 0 ? 1 : 0;
    }
    files::StructureSet set;
    files::Structure& structure = set.structures.emplace_back();
    structure.name = name;
    structure.number = 1;
    structure.region = files::LabelRegion{std::move(grid), 1};
    return set;
}

void fill(unsigned char* voxels, const files::Geometry& grid, const files::Runs& runs)
{
    const auto width = static_cast<std::size_t>(grid.size[0]);
    const auto height = static_cast<std::size_t>(grid.size[1]);
    std::fill_n(voxels, grid.voxels(), static_cast<unsigned char>(0));
    for (const files::Run& run : runs) {
        const std::size_t row =
            (static_cast<std::size_t>(run.z) * height + static_cast<std::size_t>(run.y)) * width;
        std::fill(voxels + row + run.begin, voxels + row + run.end, static_cast<unsigned char>(1));
    }
}

} // namespace

int zarnGIHost_readStructures(const char* path, zarnGIHost_Structures** structures,
                              zarnGIHost_Error* error)
{
    if (path == nullptr || structures == nullptr) {
        return refuseArgument(nullArgument, error);
    }
    *structures = nullptr;
    return guarded(error, [&] {
        return hand(files::readStructuresFile(path, host::readerHost()), structures, error);
    });
}

int zarnGIHost_readStructuresFromMemory(const void* contents, size_t size, const char* name,
                                        zarnGIHost_FindFile find, void* context,
                                        zarnGIHost_Structures** structures, zarnGIHost_Error* error)
{
    if ((contents == nullptr && size > 0) || name == nullptr || structures == nullptr) {
        return refuseArgument(nullArgument, error);
    }
    *structures = nullptr;
    return guarded(error, [&] {
        const files::ByteView file(static_cast<const unsigned char*>(contents), size);
        return hand(
            files::readStructures(file, name, host::finder(find, context), host::readerHost()),
            structures, error);
    });
}

int zarnGIHost_makeStructure(const char* name, const zarnGIHost_Volume* mask,
                             zarnGIHost_Structures** structures, zarnGIHost_Error* error)
{
    if (name == nullptr || mask == nullptr || mask->values == nullptr || structures == nullptr) {
        return refuseArgument(nullArgument, error);
    }
    *structures = nullptr;
    if (mask->type != ZARNGI_HOST_UINT8 || !host::isGrid(*mask)) {
        return refuseArgument("has another type, or a grid that cannot be", error);
    }
    return guarded(error, [&] { return hand(maskOf(name, *mask), structures, error); });
}

void zarnGIHost_freeStructures(zarnGIHost_Structures* structures)
{
    delete structures;
}

int zarnGIHost_describeStructures(const zarnGIHost_Structures* structures, zarnGIHost_Bytes* json,
                                  zarnGIHost_Error* error)
{
    if (structures == nullptr || json == nullptr) {
        return refuseArgument(nullArgument, error);
    }
    return guarded(error, [&] {
        const std::string text = zarngi::structureSetJson(structures->set).dump(-1);
        return host::hand({reinterpret_cast<const unsigned char*>(text.data()), text.size()}, json);
    });
}

const double* zarnGIHost_getContour(const zarnGIHost_Structures* structures, size_t structure,
                                    size_t contour, size_t* vertices)
{
    if (structures == nullptr || vertices == nullptr ||
        structure >= structures->set.structures.size() ||
        contour >= structures->set.structures[structure].contours.size()) {
        return nullptr;
    }
    const auto& list = structures->set.structures[structure].contours[contour].vertices;
    *vertices = list.size();
    return list.front().data();
}

int zarnGIHost_findVoxels(const zarnGIHost_Structures* structures, size_t structure,
                          const int size[3], const double spacing[3], const double origin[3],
                          unsigned char* voxels, zarnGIHost_Error* error)
{
    if (structures == nullptr || size == nullptr || spacing == nullptr || origin == nullptr ||
        voxels == nullptr) {
        return refuseArgument(nullArgument, error);
    }
    if (structure >= structures->set.structures.size() || !host::isGrid(size, spacing, origin)) {
        return refuseArgument("there is no such structure, or a grid that cannot be", error);
    }
    return guarded(error, [&] {
        const files::Geometry grid = host::geometryOf(size, spacing, origin);
        const auto regions = files::regionsOf(structures->set, grid.spacing[2]);
        if (!regions[structure]) {
            return report(
                {FileError::Kind::notSupported, structures->set.structures[structure].refusal},
                error);
        }
        fill(voxels, grid, regions[structure]->pointsIn(files::voxelCentres(grid)));
        return static_cast<int>(ZARNGI_HOST_OK);
    });
}
