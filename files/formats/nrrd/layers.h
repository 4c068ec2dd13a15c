/**
 * @file layers.h
 * Several volumes of one grid in a NRRD file.
 */
#ifndef ZARNGI_FILES_FORMATS_NRRD_LAYERS_H
#define ZARNGI_FILES_FORMATS_NRRD_LAYERS_H

#include <vector>

#include "files/bytes.h"
#include "files/doseImage.h"
#include "files/formats/textHeader.h"
#include "files/host.h"

namespace files
{

/** The volumes of a NRRD whose axis of the kind "list" counts them, and what else it says. */
struct NrrdLayers {
    DoseImage common;           ///< all but the values
    std::vector<Values> values; ///< of each layer; one without such an axis
    TextHeader keys;            ///< of its lines "key:=value"
};

/** Reads all layers; what the file does not tell is told as a warning. @throws Refusal */
NrrdLayers readNrrdLayers(ByteView file, const FindFile& find, const Host& host);

} // namespace files

#endif
