/**
 * @file pagePacking.h
 * How a host packs the binary data of a page: hosts have different means, the page reads them all.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_PAGEPACKING_H
#define ZARNGI_COMPARISON_DOCUMENTS_PAGEPACKING_H

#include <string>

#include "files/bytes.h"
#include "files/deflate.h"

namespace zarngi
{

/** Its functions are called by several threads at once. */
struct PagePacking {
    const files::Deflate& deflate;
    /** The standard alphabet, with padding, in one line. */
    std::string (*base64)(files::ByteView bytes);
};

} // namespace zarngi

#endif
