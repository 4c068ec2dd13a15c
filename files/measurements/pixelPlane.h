/**
 * @file pixelPlane.h
 * Planes of pixels whose file tells no coordinates: scanned film, matrices of numbers alone.
 */
#ifndef ZARNGI_FILES_MEASUREMENTS_PIXELPLANE_H
#define ZARNGI_FILES_MEASUREMENTS_PIXELPLANE_H

#include <cstdint>

#include "files/doseImage.h"
#include "files/orientation.h"

namespace files
{

/** Rows of pixels from the upper edge down, about 0, 0. @param size mm. @throws Refusal */
StoredGeometry pixelGeometry(std::int64_t columns, std::int64_t rows, double size);

/**
 * The plane, with warnings of what was assumed for it.
 * @param stored as pixelGeometry() gives it.
 * @param values in Gy, row by row.
 */
DoseImage pixelPlane(const StoredGeometry& stored, LargeVector<float> values);

} // namespace files

#endif
