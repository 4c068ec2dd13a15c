/**
 * @file host.h
 * What a reader may ask of the host above it: to unpack, to fetch other files, to be told units.
 */
#ifndef ZARNGI_FILES_HOST_H
#define ZARNGI_FILES_HOST_H

#include <functional>
#include <optional>
#include <string>

#include "files/bytes.h"
#include "files/deflate.h"
#include "files/error.h"

namespace files
{

/** Another file that a header names, by the name that stands there. */
using FindFile = std::function<Result<Bytes>(const std::string& name)>;

/**
 * Unpacks the pixel data of a whole DICOM file whose transfer syntax is of the JPEG families:
 * frames of rows of values, little endian, as many bytes as are asked for.
 */
using UnpackPixels = std::function<Result<Bytes>(ByteView file, std::size_t bytes)>;

/** What tables, images and RT Doses that do not tell their units are in; none: they are refused. */
struct TableUnits {
    std::optional<double> gray;        ///< of one unit of dose
    std::optional<double> millimetres; ///< of one unit of length; none: 1, with a warning
    std::optional<double> pixelSize;   ///< mm, of what tells no coordinates

    bool areGiven() const { return gray || millimetres || pixelSize; }
};

/** What a host gives the readers. */
struct Host {
    const Deflate& deflate;
    UnpackPixels unpackPixels{}; ///< empty where the host cannot
    /** Told of every file that is read, in whole: the header and what it names. */
    std::function<void(const std::string& path, ByteView contents)> watch{};
    TableUnits units{};
    bool keepsUncertainty = false; ///< of doses whose files tell it; takes memory as they do
    bool quotesFiles = true;       ///< in what is told of them; else "..." stands in that place
};

} // namespace files

#endif
