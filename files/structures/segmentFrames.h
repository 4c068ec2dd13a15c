/**
 * @file segmentFrames.h
 * The frames of a DICOM Segmentation: each holds voxels of one segment in a plane.
 */
#ifndef ZARNGI_FILES_STRUCTURES_SEGMENTFRAMES_H
#define ZARNGI_FILES_STRUCTURES_SEGMENTFRAMES_H

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "files/formats/dicom/values.h"
#include "files/orientation.h"

namespace files
{

/** What the functional groups tell of a frame; mm. */
struct SegmentFrame {
    std::optional<std::int32_t> segment; ///< its number
    std::optional<Vec3> position;        ///< of the first voxel
    std::optional<std::array<Vec3, 2>> axes;
    std::optional<std::array<double, 2>> spacing; ///< between rows, between columns
    std::optional<double> thickness;
    std::optional<double> step; ///< from plane to plane
};

/** Of each frame, by the groups that they share and their own. @throws Refusal */
std::vector<SegmentFrame> segmentFrames(const DicomValues& values, std::size_t count);

/** The one grid in which all frames lie. */
struct SegmentGrid {
    StoredGeometry geometry;
    std::vector<std::size_t> planes; ///< of each frame
    std::vector<std::string> warnings;
};

/** @throws Refusal when the frames lie in no grid */
SegmentGrid segmentGrid(const std::vector<SegmentFrame>& frames, std::int64_t columns,
                        std::int64_t rows);

} // namespace files

#endif
