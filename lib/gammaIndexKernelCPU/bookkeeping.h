/**
 * @file bookkeeping.h
 * What is known of the voxels under test between two passes. Never called while workers run.
 */
#ifndef ZARNGI_BOOKKEEPING_H
#define ZARNGI_BOOKKEEPING_H

#include "libZarnGI.h"

/**
 * Counts the tested voxels that passed.
 * @return their number.
 */
ZARNGI_API int getNumPassed();

/**
 * The pass rate.
 * @return 100 * passed / tested voxels, %, formed in double precision.
 */
ZARNGI_API float getGammaPassRate();

/**
 * Tells whether to search farther out.
 * @return true when the search of some voxel is not final yet.
 */
ZARNGI_API bool keepSearching();

#endif
