#include "copiedGrid.h"

#include <cstddef>
#include <fstream>

// Both processors have the lower byte first.

void writeCopiedGrid(const std::filesystem::path& path, const Grid& grid)
{
    std::ofstream file;
    file.exceptions(std::ios::failbit | std::ios::badbit);
    file.open(path, std::ios::binary);
    const auto write = [&](const auto& values) {
        file.write(reinterpret_cast<const char*>(values.data()),
                   static_cast<std::streamsize>(values.size() * sizeof values[0]));
    };
    write(grid.nn);
    write(grid.hs);
    write(grid.x0);
    write(grid.map);
}

Grid readCopiedGrid(const std::filesystem::path& path)
{
    std::ifstream file;
    file.exceptions(std::ios::failbit | std::ios::badbit | std::ios::eofbit);
    file.open(path, std::ios::binary);
    const auto read = [&](auto& values) {
        file.read(reinterpret_cast<char*>(values.data()),
                  static_cast<std::streamsize>(values.size() * sizeof values[0]));
    };
    Grid grid;
    read(grid.nn);
    read(grid.hs);
    read(grid.x0);
    std::size_t voxels = 1;
    for (const int n : grid.nn) {
        voxels *= static_cast<std::size_t>(n);
    }
    grid.map.resize(voxels);
    read(grid.map);
    return grid;
}
