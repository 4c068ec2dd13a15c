/**
 * @file values.h
 * The values of a NRRD file: their type, their unit, and where they lie.
 */
#ifndef ZARNGI_FILES_FORMATS_NRRD_VALUES_H
#define ZARNGI_FILES_FORMATS_NRRD_VALUES_H

#include <cstddef>
#include <vector>

#include "files/bytes.h"
#include "files/deflate.h"
#include "files/doseImage.h"
#include "files/formats/nrrd/header.h"
#include "files/storedValues.h"

namespace files::nrrd
{

/** What makes doses of the values; warns the dose of what is assumed. */
Scaling scalingOf(const Header& header, DoseImage& dose);

/** So many values. @param data of the file, or of the one that it names @throws Refusal */
Values valuesOf(const Header& header, const Contents& data, const Scaling& scaling,
                std::size_t count, const Deflate& deflate);

} // namespace files::nrrd

#endif
