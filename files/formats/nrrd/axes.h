/**
 * @file axes.h
 * The axes of a NRRD file: how many values along each, and which of them span the volume.
 */
#ifndef ZARNGI_FILES_FORMATS_NRRD_AXES_H
#define ZARNGI_FILES_FORMATS_NRRD_AXES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "files/formats/nrrd/header.h"

namespace files::nrrd
{

/** The grid, axis by axis, before the three that span the volume are picked. */
struct Axes {
    std::vector<std::int64_t> sizes;
    std::vector<std::string> units;    ///< empty where they are not told
    std::optional<std::size_t> layers; ///< the one that counts volumes of one grid

    /** Whether an axis may be none of space. */
    bool mayBeNone(std::size_t axis) const { return sizes[axis] == 1 || axis == layers; }
    std::int64_t layerCount() const { return layers ? sizes[*layers] : 1; }
};

/** Whether a file's lists are layers, or values of which a dose has one per voxel. */
enum class Lists { layers, refused };

/** The axes of a header. @throws Refusal when what it tells of them does not agree. */
Axes axesOf(const Header& header, Lists lists);

/**
 * Picks the three axes for which `isSpatial` holds; the others must have one voxel.
 * @throws Refusal
 */
std::array<std::size_t, 3> pickAxes(const Axes& axes,
                                    const std::function<bool(std::size_t axis)>& isSpatial);

} // namespace files::nrrd

#endif
