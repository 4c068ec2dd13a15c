// Copies measured dose grids for builds that cannot read dose files: FOLDER NAME...
#include <cstdio>
#include <exception>
#include <filesystem>

#include "support/copiedGrid.h"
#include "support/realGrids.h"

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s FOLDER NAME...\n", argv[0]);
        return 2;
    }
    try {
        const std::filesystem::path folder = argv[1];
        std::filesystem::create_directories(folder);
        for (int i = 2; i < argc; ++i) {
            writeCopiedGrid(folder / argv[i], readRealGrid(argv[i]));
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
