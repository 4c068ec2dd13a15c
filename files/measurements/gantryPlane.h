/**
 * @file gantryPlane.h
 * The planes through a point of the patient that planes of doses are put into.
 */
#ifndef ZARNGI_FILES_MEASUREMENTS_GANTRYPLANE_H
#define ZARNGI_FILES_MEASUREMENTS_GANTRYPLANE_H

#include "files/doseImage.h"

namespace files
{

/**
 * The plane across the beam of a gantry angle (IEC 61217) of a head-first supine patient, seen from
 * the source: right is (cos, sin, 0), up is z. 0 degrees: the coronal plane.
 */
PlanePlace gantryPlane(const Vec3& at, double degrees);

/** A point of a plane in the patient, mm, rounded to 2^-20 mm: the same with any math library. */
Vec3 inSpace(const PlanePlace& plane, double x, double y);

} // namespace files

#endif
