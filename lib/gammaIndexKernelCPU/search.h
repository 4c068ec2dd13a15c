/**
 * @file search.h
 * The search of one shell around one voxel.
 */
#ifndef ZARNGI_SEARCH_H
#define ZARNGI_SEARCH_H

#include "engineState.h"

/** Visits the points of the current shell around a voxel and lowers its gammasq. */
void searchVoxel(ActiveVoxel& voxel);

#endif
