/**
 * @file volume.h
 * A NRRD file read whole.
 */
#ifndef ZARNGI_FILES_FORMATS_NRRD_VOLUME_H
#define ZARNGI_FILES_FORMATS_NRRD_VOLUME_H

#include <vector>

#include "files/bytes.h"
#include "files/doseImage.h"
#include "files/formats/nrrd/axes.h"
#include "files/formats/nrrd/header.h"
#include "files/host.h"
#include "files/orientation.h"

namespace files::nrrd
{

/** A file's grid and all its values. */
struct Volume {
    Header header;
    Axes axes;
    DoseImage dose; ///< without values
    StoredGeometry stored;
    Values values;
};

/**
 * Reads the header and all values, those in the file that it names too. What is in the header stays
 * only as long as the file is lent. @throws Refusal
 */
Volume readAll(const Contents& file, Lists lists, const FindFile& find, const Host& host);

} // namespace files::nrrd

#endif
