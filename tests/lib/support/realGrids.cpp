#include "realGrids.h"

#include <filesystem>
#include <stdexcept>

#include "files/nativeDeflate.h"
#include "files/readDose.h"

bool haveRealGrids()
{
    return std::filesystem::is_directory(ZARNGI_TEST_DATA);
}

Grid readRealGrid(const std::string& name)
{
    const std::filesystem::path path = std::filesystem::path(ZARNGI_TEST_DATA) / name;
    files::Result<files::DoseImage> dose = files::readDoseFile(path, {files::nativeDeflate()});
    if (!dose) {
        throw std::runtime_error(path.string() + ": " + dose.error().sentence);
    }
    const files::Geometry& geometry = dose->image.geometry;
    Grid grid;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        grid.nn[axis] = geometry.size[axis];
        grid.hs[axis] = static_cast<float>(geometry.spacing[axis]);
        // The origin of a file is the centre of its first voxel.
        grid.x0[axis] = static_cast<float>(geometry.origin[axis] - geometry.spacing[axis] / 2);
    }
    grid.map.assign(dose->image.values.begin(), dose->image.values.end());
    return grid;
}
