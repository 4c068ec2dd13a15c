/**
 * @file copiedGrid.h
 * Dose grids in files of their bytes: for builds without the readers of dose files.
 */
#ifndef ZARNGI_TESTS_COPIEDGRID_H
#define ZARNGI_TESTS_COPIEDGRID_H

#include <filesystem>

#include "grid.h"

/** Both throw where that is not possible. */
void writeCopiedGrid(const std::filesystem::path& path, const Grid& grid);
Grid readCopiedGrid(const std::filesystem::path& path);

#endif
