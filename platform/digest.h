/**
 * @file digest.h
 * Bytes as digests and as texts, by a library of the system.
 */
#ifndef ZARNGI_PLATFORM_DIGEST_H
#define ZARNGI_PLATFORM_DIGEST_H

#include <array>
#include <span>
#include <string>

namespace platform
{

using Sha256 = std::array<unsigned char, 32>;

Sha256 sha256Of(std::span<const unsigned char> bytes);

/** Base64 without line ends. */
std::string base64Of(std::span<const unsigned char> bytes);

} // namespace platform

#endif
