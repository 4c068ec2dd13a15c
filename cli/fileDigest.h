/**
 * @file fileDigest.h
 * The identity of a file's contents.
 */
#ifndef ZARNGI_CLI_FILEDIGEST_H
#define ZARNGI_CLI_FILEDIGEST_H

#include <cstdint>
#include <string>

namespace cli
{

struct FileDigest {
    std::uintmax_t bytes = 0;
    std::string sha256; ///< lower-case hexadecimal
};

/** Reads the file once. @throws InputError */
FileDigest digestOf(const std::string& path);

} // namespace cli

#endif
