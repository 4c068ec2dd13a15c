/**
 * @file nativeDeflate.h
 * The codec of native hosts.
 */
#ifndef ZARNGI_FILES_NATIVEDEFLATE_H
#define ZARNGI_FILES_NATIVEDEFLATE_H

#include "files/deflate.h"

namespace files
{

/** Raw DEFLATE by means of libdeflate, and of zlib for beginnings of streams. */
const Deflate& nativeDeflate();

} // namespace files

#endif
