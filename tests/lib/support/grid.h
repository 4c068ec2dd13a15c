// Dose grids, by the names that the tests use.
#ifndef ZARNGI_TESTS_GRID_H
#define ZARNGI_TESTS_GRID_H

#include "comparison/selfTest/grid.h"

using zarngi::definition::Grid;
using zarngi::definition::makeGrid;
using zarngi::definition::makeRow;
using zarngi::definition::sameBits;
using zarngi::definition::setEval;
using zarngi::definition::setRef;

#endif
