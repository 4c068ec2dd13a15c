/**
 * @file generatePointsInShell.h
 * The lattice points of a spherical shell, which the gamma search visits.
 */
#ifndef ZARNGI_GENERATEPOINTSINSHELL_H
#define ZARNGI_GENERATEPOINTSINSHELL_H

#include <vector>

#include "libZarnGI.h"
#include "vector3d.h"

/** A lattice point during the generation: whole-number coordinates and their squared radius. */
struct point4d {
    float x;   ///< a whole number, lattice units
    float y;   ///< a whole number, lattice units
    float z;   ///< a whole number, lattice units
    float rsq; ///< x*x + y*y + z*z in lattice units, formed as an integer, then rounded to float
};

/**
 * Ordering of lattice points by distance.
 * @param a, b lattice points.
 * @return whether a lies nearer to the origin than b.
 */
ZARNGI_API bool myfunction(const point4d& a, const point4d& b);

/**
 * Lists the displacements of a cubic lattice in the shell rmin < r <= rmax, nearest first.
 *
 * With rmin = 0 the origin comes first. The sign variants of one lattice point are adjacent. When
 * rmax / stepSize is not a whole number, points between its integer part and itself are produced
 * only where the loop bounds of the enumeration reach them; no other shell produces them then.
 *
 * @param pts receives the displacements, mm; earlier contents are discarded.
 * @param rmin inner radius, mm, >= 0.
 * @param rmax outer radius, mm, > rmin.
 * @param stepSize lattice spacing, mm, > 0.
 */
ZARNGI_API void generatePointsInShell(std::vector<vec3dRT>& pts, float rmin, float rmax,
                                      float stepSize);

#endif
