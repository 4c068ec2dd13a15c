/**
 * @file fileDigest.h
 * The identity of a file's contents.
 */
#ifndef ZARNGI_COMPARISON_FILEDIGEST_H
#define ZARNGI_COMPARISON_FILEDIGEST_H

#include <cstdint>
#include <map>
#include <span>
#include <string>

namespace zarngi
{

struct FileDigest {
    std::uintmax_t bytes = 0;
    std::string sha256; ///< lower-case hexadecimal
};

FileDigest digestOf(std::span<const unsigned char> contents);

/** By the path under which a file was read. */
using FileDigests = std::map<std::string, FileDigest>;

} // namespace zarngi

#endif
