// The measured dose grids from copies that copy_grids_main.cpp has written.
#include <filesystem>

#include "copiedGrid.h"
#include "realGrids.h"

bool haveRealGrids()
{
    return std::filesystem::is_directory(ZARNGI_TEST_DATA);
}

Grid readRealGrid(const std::string& name)
{
    return readCopiedGrid(std::filesystem::path(ZARNGI_TEST_DATA) / name);
}
