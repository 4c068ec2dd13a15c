/**
 * @file engineState.h
 * The state of one computation, shared by the driver and the workers.
 *
 * Process-wide and overwritten by each computation. Read-only while workers run, but for the
 * records of activeVoxels, each of which is written by the worker that owns it, and trilinDebug.
 */
#ifndef ZARNGI_ENGINESTATE_H
#define ZARNGI_ENGINESTATE_H

#include <atomic>
#include <cstdint>
#include <vector>

#include "libZarnGI.h"
#include "vector3d.h"

/** One reference voxel under test. */
struct ActiveVoxel {
    std::int32_t ivxl;      ///< linear index in the reference map
    bool passed;            ///< some evaluation point gave gamma^2 <= 1; never cleared
    bool stopSearching;     ///< no point farther out can lower gammasq; never cleared
    std::int32_t ichk;      ///< 0
    std::int32_t irefvxl;   ///< position in the list when it was filled
    float gammasq;          ///< least gamma^2 found so far; 1e20 at the start
    float distanceMinGamma; ///< mm, distance of the point that gave gammasq
};

/** gammasq of a voxel for which no evaluation point has been found. */
constexpr float gammasqNotFound = 1e20F;

ZARNGI_API extern float DCO;     ///< %, dose cut-off
ZARNGI_API extern float DTA;     ///< mm, distance to agreement
ZARNGI_API extern float DD;      ///< %, dose-difference criterion
ZARNGI_API extern float DDvalue; ///< Gy, global dose-difference criterion
ZARNGI_API extern bool localDD;  ///< dose differences are judged against the reference dose

/** The voxels under test, in increasing ivxl. Keep the records of the last computation. */
ZARNGI_API extern std::vector<ActiveVoxel> activeVoxels;

/** mm, offsets of the reference sample points from a voxel's lower corner; nC entries. */
ZARNGI_API extern std::vector<vec3dRT> ptsSob_vox;
ZARNGI_API extern std::int32_t nC; ///< number of reference sample points per voxel: 1

/** mm, offsets of the current shell, nearest first; owned by the driver while it runs. */
ZARNGI_API extern const std::vector<vec3dRT>* evalPoints;

ZARNGI_API extern std::int32_t pthreads_max_num; ///< worker threads of a pass
ZARNGI_API extern float Rot[3][3];               ///< rotation of the search lattice

/** Trace switch of TrilinearInterp; nothing in the library turns it on. */
ZARNGI_API extern std::atomic<bool> trilinDebug;
/** Trace switch of BilinearInterp; nothing in the library turns it on. */
ZARNGI_API extern std::atomic<bool> bilinDebug;

#endif
