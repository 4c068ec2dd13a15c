/**
 * @file fileDigest.h
 * The identity of a file's contents.
 */
#ifndef ZARNGI_CLI_FILEDIGEST_H
#define ZARNGI_CLI_FILEDIGEST_H

#include <cstdint>
#include <span>
#include <string>

namespace cli
{

struct FileDigest {
    std::uintmax_t bytes = 0;
    std::string sha256; ///< lower-case hexadecimal
};

/** Of contents that are at hand. @throws InputError */
FileDigest digestOf(std::span<const unsigned char> contents);

/** Reads the file once. @throws InputError */
FileDigest digestOf(const std::string& path);

} // namespace cli

#endif
