#include "files/packed.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <functional>
#include <numeric>
#include <string>
#include <vector>

#include "files/checksum.h"
#include "files/error.h"
#include "files/nativeDeflate.h"

namespace
{

using Content = std::vector<unsigned char>;

/** Bytes that pack, but not too well. */
Content content(std::size_t size)
{
    Content bytes(size);
    unsigned state = 7;
    for (unsigned char& byte : bytes) {
        state = state * 1103515245 + 12345;
        byte = static_cast<unsigned char>((state >> 16) % 23);
    }
    return bytes;
}

Content copyOf(const files::Bytes& bytes)
{
    return {bytes.view().begin(), bytes.view().end()};
}

Content gzip(const Content& plain)
{
    return copyOf(files::packGzip(plain, files::nativeDeflate()));
}

Content operator+(Content left, const Content& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/** What unpacking into a buffer of the size gives; its sentence where it is refused. */
std::string unpacked(const Content& packed, const Content& expected)
{
    Content buffer(expected.size());
    try {
        files::unpackInto(buffer, packed, files::nativeDeflate());
    } catch (const files::Refusal& refusal) {
        return refusal.what();
    }
    return buffer == expected ? "equal" : "other bytes";
}

TEST(Checksums, AreThoseOfZlibForEveryLength)
{
    const Content bytes = content(70000);
    for (std::size_t size = 0; size < bytes.size(); size += size < 100 ? 1 : 4999) {
        const files::ByteView part(bytes.data() + size % 5, size - std::min<std::size_t>(size, 5));
        const auto length = static_cast<uInt>(part.size());
        EXPECT_EQ(files::crc32(part), ::crc32(0, part.data(), length)) << size;
        EXPECT_EQ(files::adler32(part), ::adler32(1, part.data(), length)) << size;
    }
    const Content largest(20000, 0xFF);
    EXPECT_EQ(files::adler32(largest), ::adler32(1, largest.data(), 20000));
}

TEST(Packing, IsReadByZlib)
{
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{300000}}) {
        const Content plain = content(size);
        for (const bool isGzip : {true, false}) {
            const Content packed =
                isGzip ? gzip(plain) : copyOf(files::packZlib(plain, files::nativeDeflate()));
            Content buffer(size + 1);
            z_stream stream{};
            inflateInit2(&stream, MAX_WBITS + 32);
            stream.next_in = const_cast<Bytef*>(packed.data());
            stream.avail_in = static_cast<uInt>(packed.size());
            stream.next_out = buffer.data();
            stream.avail_out = static_cast<uInt>(buffer.size());
            EXPECT_EQ(inflate(&stream, Z_FINISH), Z_STREAM_END);
            EXPECT_EQ(stream.avail_in, 0U);
            inflateEnd(&stream);
            buffer.resize(stream.total_out);
            EXPECT_EQ(buffer, plain);
            EXPECT_EQ(unpacked(packed, plain), "equal");
        }
    }
}

TEST(Gzip, MembersAndOptionalFieldsAreRead)
{
    const Content plain = content(1000);
    const Content first(plain.begin(), plain.begin() + 400);
    const Content second(plain.begin() + 400, plain.end());
    EXPECT_EQ(unpacked(gzip(first) + gzip({}) + gzip(second), plain), "equal");
    EXPECT_EQ(unpacked(gzip(plain) + Content(3, 0), plain), "equal");

    Content packed = gzip(plain);
    Content header(packed.begin(), packed.begin() + 10);
    const Content rest(packed.begin() + 10, packed.end());
    header[3] = 2 | 4 | 8 | 16; // checksum, extra field, name, comment
    header = header + Content{3, 0, 'a', 0, 'b', 'n', 0, 'c', 'd', 0};
    const auto checksum = ::crc32(0, header.data(), static_cast<uInt>(header.size()));
    const Content sum = {static_cast<unsigned char>(checksum),
                         static_cast<unsigned char>(checksum >> 8)};
    EXPECT_EQ(unpacked(header + sum + rest, plain), "equal");
    EXPECT_NE(
        unpacked(header + Content{sum[0], static_cast<unsigned char>(sum[1] ^ 1)} + rest, plain),
        "equal");
}

TEST(Packed, NoBitMayFlipAndNoByteMayLack)
{
    const Content plain = content(300);
    for (const Content& packed :
         {gzip(plain), copyOf(files::packZlib(plain, files::nativeDeflate()))}) {
        for (std::size_t bit = 0; bit < 8 * packed.size(); ++bit) {
            Content damaged = packed;
            damaged[bit / 8] ^= static_cast<unsigned char>(1U << bit % 8);
            const std::string answer = unpacked(damaged, plain);
            EXPECT_NE(answer, "other bytes") << bit;
            // Time, speed and system of a gzip header say nothing of the data, nor do the bits
            // that fill up the last byte of a stream, before its checksum.
            const bool isGzip = packed[0] == 0x1F;
            const bool isIdle = (isGzip && bit / 8 >= 3 && bit / 8 < 10) ||
                                bit / 8 == packed.size() - (isGzip ? 9 : 5);
            EXPECT_TRUE(answer != "equal" || isIdle) << bit;
        }
        for (std::size_t length = 0; length < packed.size(); ++length) {
            const Content cut(packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(length));
            EXPECT_NE(unpacked(cut, plain).find("damaged or cut short"), std::string::npos);
        }
    }
}

TEST(Packed, WhatHasAnotherLengthIsRefused)
{
    const Content plain = content(1000);
    Content shorter = plain;
    shorter.pop_back();
    const Content zlib = copyOf(files::packZlib(plain, files::nativeDeflate()));
    EXPECT_NE(unpacked(gzip(plain), shorter).find("holds more than its grid"), std::string::npos);
    EXPECT_NE(unpacked(zlib, shorter).find("holds more than its grid"), std::string::npos);
    EXPECT_NE(unpacked(gzip(shorter), plain).find("is cut short"), std::string::npos);
    EXPECT_NE(unpacked(zlib + Content(4, 0), plain).find("belong to nothing"), std::string::npos);
    EXPECT_NE(unpacked(gzip(plain) + Content{0, 1}, plain).find("damaged"), std::string::npos);
}

TEST(UnpackAll, GrowsToWhatIsThereAndNoFurther)
{
    const Content plain(100000, 'a'); // packs to a few hundred bytes
    const Content packed = gzip(plain);
    const auto& codec = files::nativeDeflate();
    EXPECT_EQ(copyOf(files::unpackAll(packed, codec, 1 << 20)), plain);
    EXPECT_EQ(copyOf(files::unpackAll(packed + gzip(content(50)), codec, 1 << 20)),
              plain + content(50));
    EXPECT_THROW(files::unpackAll(packed, codec, plain.size() - 1), files::Refusal);
    EXPECT_EQ(copyOf(files::unpackBeginning(packed, codec, 10)), Content(10, 'a'));
    EXPECT_EQ(files::unpackBeginning(Content{0x1F, 0x8B, 9}, codec, 10).size(), 0U);
    const Content raw(packed.begin() + 10, packed.end() - 8);
    EXPECT_EQ(copyOf(files::unpackRaw(raw + Content{0}, codec, 1 << 20)), plain);
    EXPECT_THROW(files::unpackRaw(raw + Content{1}, codec, 1 << 20), files::Refusal);
    EXPECT_THROW(files::unpackRaw(raw + Content{0, 0}, codec, 1 << 20), files::Refusal);
}

} // namespace
