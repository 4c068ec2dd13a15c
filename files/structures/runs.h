/**
 * @file runs.h
 * Sets of points of a raster, as runs along its rows.
 */
#ifndef ZARNGI_FILES_STRUCTURES_RUNS_H
#define ZARNGI_FILES_STRUCTURES_RUNS_H

#include <cstddef>
#include <vector>

namespace files
{

/** Neighbours along x: the points `begin` to before `end` of row y, slice z. */
struct Run {
    int z;
    int y;
    int begin;
    int end;

    friend bool operator==(const Run&, const Run&) = default;
};

/** By z, then y, then x; the runs of a row neither touch nor overlap, and none is empty. */
using Runs = std::vector<Run>;

std::size_t pointCount(const Runs& runs);

/** The points that are in both, in either, or in the first alone. */
Runs intersection(const Runs& a, const Runs& b);
Runs unionOf(const Runs& a, const Runs& b);
Runs difference(const Runs& a, const Runs& b);

} // namespace files

#endif
