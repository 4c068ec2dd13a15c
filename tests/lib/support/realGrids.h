/**
 * @file realGrids.h
 * The measured dose grids beside the project, which not every machine has.
 */
#ifndef ZARNGI_TESTS_REALGRIDS_H
#define ZARNGI_TESTS_REALGRIDS_H

#include <string>

#include "grid.h"

/** Whether the folder of dose files is there. */
bool haveRealGrids();

/** Reads a dose file of that folder, in Gy; throws when it cannot be read. */
Grid readRealGrid(const std::string& name);

#endif
