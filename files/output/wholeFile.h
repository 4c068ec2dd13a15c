/**
 * @file wholeFile.h
 * Files that appear whole or not at all.
 */
#ifndef ZARNGI_FILES_OUTPUT_WHOLEFILE_H
#define ZARNGI_FILES_OUTPUT_WHOLEFILE_H

#include <string>

#include "files/bytes.h"
#include "files/error.h"

namespace files
{

/** Writes a file under a temporary name beside `path`, then gives it that name. */
Result<bool> writeWhole(const std::string& path, ByteView contents);

} // namespace files

#endif
