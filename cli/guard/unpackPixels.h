/**
 * @file unpackPixels.h
 * Pixel data of the JPEG families, unpacked by a process of its own.
 *
 * The decoders are large foreign libraries. In a process apart a damaged file can end them, stall
 * them or make them ask for memory without limit, and the program goes on with one clear sentence;
 * and who reads no such file never loads them.
 */
#ifndef ZARNGI_CLI_GUARD_UNPACKPIXELS_H
#define ZARNGI_CLI_GUARD_UNPACKPIXELS_H

#include "files/bytes.h"
#include "files/error.h"

namespace zarngi
{

/**
 * Unpacks the pixel data of a DICOM file.
 * @param file the whole file.
 * @param bytes how many the pixels must have.
 */
files::Result<files::Bytes> unpackPixels(files::ByteView file, std::size_t bytes);

} // namespace zarngi

#endif
