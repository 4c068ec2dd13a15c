#include "comparison/fileDigest.h"

#include <openssl/evp.h>

#include <array>

#include "comparison/failure.h"

namespace zarngi
{

namespace
{

std::string hexadecimal(const unsigned char* bytes, unsigned count)
{
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for (unsigned i = 0; i < count; ++i) {
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

} // namespace

FileDigest digestOf(std::span<const unsigned char> contents)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
    unsigned length = 0;
    if (EVP_Digest(contents.data(), contents.size(), hash.data(), &length, EVP_sha256(), nullptr) !=
        1) {
        throw InputError("the SHA-256 digest is not available on this system");
    }
    return {contents.size(), hexadecimal(hash.data(), length)};
}

} // namespace zarngi
