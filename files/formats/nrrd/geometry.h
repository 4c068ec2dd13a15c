/**
 * @file geometry.h
 * Where the grid of a NRRD file lies.
 */
#ifndef ZARNGI_FILES_FORMATS_NRRD_GEOMETRY_H
#define ZARNGI_FILES_FORMATS_NRRD_GEOMETRY_H

#include "files/doseImage.h"
#include "files/formats/nrrd/axes.h"
#include "files/formats/nrrd/header.h"
#include "files/orientation.h"

namespace files::nrrd
{

/** The grid; tells the dose which of its places the header does not tell. @throws Refusal */
StoredGeometry geometryOf(const Header& header, const Axes& axes, DoseImage& dose);

} // namespace files::nrrd

#endif
