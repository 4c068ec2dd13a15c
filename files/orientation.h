/**
 * @file orientation.h
 * Grids as files store them, and the way from there to the patient's axes.
 */
#ifndef ZARNGI_FILES_ORIENTATION_H
#define ZARNGI_FILES_ORIENTATION_H

#include <cstdint>

#include "files/doseImage.h"

namespace files
{

/** The vector product. */
Vec3 cross(const Vec3& a, const Vec3& b);

/** A grid as a file describes it; nothing is known to be sensible yet. */
struct StoredGeometry {
    std::array<std::int64_t, 3> size{};
    Vec3 spacing{};             ///< mm
    Vec3 origin{};              ///< mm, centre of the first voxel
    std::array<Vec3, 3> axes{}; ///< unit vectors: where each index grows in the patient's system
};

/**
 * Refuses what no dose grid can be: sizes below 1 or of 2^31 voxels and more, spacings that are
 * not positive or absurd, an origin that is not a number, axes that are oblique.
 * @return the number of voxels.
 * @throws Refusal
 */
std::size_t checkGeometry(const StoredGeometry& stored);

/** The patient's axis along which one points of a geometry that checkGeometry() accepts. */
std::size_t patientAxis(const Vec3& direction);

/** Takes the three steps from voxel to voxel (mm) for spacing and axes. @throws Refusal */
void setSteps(StoredGeometry& stored, const std::array<Vec3, 3>& steps);

/**
 * Turns an image into the patient's axes by permuting and flipping; no value is interpolated.
 * @param stored a geometry that checkGeometry() accepts.
 * @param values as many values as the grid has voxels, first stored axis fastest.
 */
Image toPatientAxes(const StoredGeometry& stored, Values values);

} // namespace files

#endif
