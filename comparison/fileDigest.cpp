#include "comparison/fileDigest.h"

#include "platform/digest.h"

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
    return {contents.size(), hexadecimal(platform::sha256Of(contents))};
}

} // namespace zarngi
