/**
 * @file driver.h
 * The entry point of the engine.
 */
#ifndef ZARNGI_DRIVER_H
#define ZARNGI_DRIVER_H

#include "libZarnGI.h"

/**
 * Runs one computation from the parameters and grids in `Env` to the results there.
 *
 * Both grids and all criteria must be present (zarnGI_isReadyToGo()).
 * @return 0. With no voxel above the cut-off, `gamma` and `passrate` stay as they were.
 * @throws std::bad_alloc when memory runs out, std::domain_error or std::length_error when the
 *         search lattice cannot be searched (zarnGI_startComputation()); the results are then
 *         incomplete.
 */
ZARNGI_API int evaluateGammaIndex();

#endif
