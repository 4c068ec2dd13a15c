/**
 * @file zlibDeflate.h
 * The codec of native hosts.
 */
#ifndef ZARNGI_FILES_ZLIBDEFLATE_H
#define ZARNGI_FILES_ZLIBDEFLATE_H

#include "files/deflate.h"

namespace files
{

/** Raw DEFLATE by means of zlib. */
const Deflate& zlibDeflate();

} // namespace files

#endif
