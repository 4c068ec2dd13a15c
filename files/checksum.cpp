#include "files/checksum.h"

namespace files
{

namespace
{

constexpr std::size_t stride = 16; ///< bytes that are looked up at once

using Tables = std::array<std::array<std::uint32_t, 256>, stride>;

/** tables[k][b]: what byte b does to the checksum when k more bytes follow it. */
constexpr Tables makeTables()
{
    constexpr std::uint32_t polynomial = 0xEDB88320;
    Tables tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value >> 1) ^ ((value & 1) != 0 ? polynomial : 0);
        }
        tables[0][byte] = value;
    }
    for (std::size_t k = 1; k < stride; ++k) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t before = tables[k - 1][byte];
            tables[k][byte] = (before >> 8) ^ tables[0][before & 0xFF];
        }
    }
    return tables;
}

constexpr Tables tables = makeTables();

/** The checksum after the four bytes of a word, behind which `behind` more are looked up. */
std::uint32_t looked(std::uint32_t word, std::size_t behind)
{
    return tables[behind + 3][word & 0xFF] ^ tables[behind + 2][word >> 8 & 0xFF] ^
           tables[behind + 1][word >> 16 & 0xFF] ^ tables[behind][word >> 24];
}

} // namespace

std::uint32_t crc32(ByteView bytes)
{
    std::uint32_t crc = 0xFFFFFFFF;
    const unsigned char* byte = bytes.data();
    std::size_t left = bytes.size();
    for (; left >= stride; left -= stride, byte += stride) {
        const auto word = [byte](std::size_t i) {
            return numberAt<std::uint32_t>(byte, 4 * i, false);
        };
        crc = looked(word(0) ^ crc, 12) ^ looked(word(1), 8) ^ looked(word(2), 4) ^
              looked(word(3), 0);
    }
    for (; left > 0; --left, ++byte) {
        crc = (crc >> 8) ^ tables[0][(crc ^ *byte) & 0xFF];
    }
    return ~crc;
}

std::uint32_t adler32(ByteView bytes)
{
    constexpr std::uint32_t modulus = 65521;
    // So many bytes of 255 leave both sums below 2^32 (RFC 1950, section 9).
    constexpr std::size_t longestRun = 5552;
    std::uint32_t low = 1;
    std::uint32_t high = 0;
    while (!bytes.empty()) {
        const ByteView run = part(bytes, 0, longestRun);
        for (const unsigned char byte : run) {
            low += byte;
            high += low;
        }
        low %= modulus;
        high %= modulus;
        bytes = bytes.subspan(run.size());
    }
    return high << 16 | low;
}

} // namespace files
