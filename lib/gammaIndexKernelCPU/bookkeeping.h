/**
 * @file bookkeeping.h
 * What is known of the voxels under test between two passes. Never called while workers run.
 */
#ifndef ZARNGI_BOOKKEEPING_H
#define ZARNGI_BOOKKEEPING_H

#include "libZarnGI.h"

/** Number of tested voxels that passed. */
ZARNGI_API int getNumPassed();

/** Passed voxels in percent of the tested ones. */
ZARNGI_API float getGammaPassRate();

/** Whether the search of some voxel is not final yet. */
ZARNGI_API bool keepSearching();

#endif
