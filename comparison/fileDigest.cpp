#include "comparison/fileDigest.h"

// Its functions of this level need a few objects of the archive, those above it need most of them.
#define OPENSSL_API_COMPAT 0x10100000L
#include <openssl/sha.h>

#include <array>

namespace zarngi
{

namespace
{

std::string hexadecimal(std::span<const unsigned char> bytes)
{
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

} // namespace

FileDigest digestOf(std::span<const unsigned char> contents)
{
    std::array<unsigned char, SHA256_DIGEST_LENGTH> hash{};
    SHA256_CTX state;
    SHA256_Init(&state);
    SHA256_Update(&state, contents.data(), contents.size());
    SHA256_Final(hash.data(), &state);
    return {contents.size(), hexadecimal(hash)};
}

} // namespace zarngi
