#include "files/packed.h"

#include <limits>
#include <new>

#include "files/checksum.h"
#include "files/error.h"
#include "files/text.h"

namespace files
{

namespace
{

[[noreturn]] void refuseStream()
{
    refuseDamaged("its compressed data is damaged or cut short");
}

/** Reads the fields of a frame one after another. */
class Fields
{
public:
    explicit Fields(ByteView bytes) : bytes_(bytes) {}

    ByteView take(std::size_t count)
    {
        if (bytes_.size() < count) {
            refuseStream();
        }
        const ByteView taken = bytes_.first(count);
        bytes_ = bytes_.subspan(count);
        return taken;
    }

    template <class Number> Number number(bool isBigEndian = false)
    {
        return numberAt<Number>(take(sizeof(Number)).data(), 0, isBigEndian);
    }

    void skipText()
    {
        while (number<std::uint8_t>() != 0) {
        }
    }

    ByteView left() const { return bytes_; }

private:
    ByteView bytes_;
};

void skipGzipHeader(Fields& fields)
{
    constexpr unsigned reserved = 0xE0;
    constexpr unsigned hasExtra = 4;
    constexpr unsigned hasName = 8;
    constexpr unsigned hasComment = 16;
    constexpr unsigned hasChecksum = 2;
    constexpr unsigned deflated = 8;
    const ByteView start = fields.left();
    fields.take(2); // isGzip() has seen them
    const unsigned method = fields.number<std::uint8_t>();
    const unsigned flags = fields.number<std::uint8_t>();
    if (method != deflated || (flags & reserved) != 0) {
        refuseStream();
    }
    fields.take(6); // time, speed and system
    if ((flags & hasExtra) != 0) {
        fields.take(fields.number<std::uint16_t>());
    }
    if ((flags & hasName) != 0) {
        fields.skipText();
    }
    if ((flags & hasComment) != 0) {
        fields.skipText();
    }
    if ((flags & hasChecksum) != 0) {
        const ByteView header = start.first(start.size() - fields.left().size());
        if (fields.number<std::uint16_t>() != (crc32(header) & 0xFFFF)) {
            refuseStream();
        }
    }
}

void skipZlibHeader(Fields& fields)
{
    constexpr unsigned hasDictionary = 0x20;
    const unsigned method = fields.number<std::uint8_t>();
    const unsigned flags = fields.number<std::uint8_t>();
    const bool isDeflated = (method & 0x0F) == 8 && method >> 4 <= 7;
    if (!isDeflated || (method << 8 | flags) % 31 != 0 || (flags & hasDictionary) != 0) {
        refuseStream();
    }
}

/** What a member or stream gave. */
struct Step {
    bool hasEnded = false; ///< else the buffer was too small
    std::size_t made = 0;
};

/** Unpacks the DEFLATE stream that comes next. */
Step unpackStream(Fields& fields, std::span<unsigned char> buffer, const Deflate& deflate)
{
    const Unpacked result = deflate.unpack(fields.left(), buffer);
    if (result.status == Unpacked::Status::damaged) {
        refuseStream();
    }
    if (result.status == Unpacked::Status::full) {
        return {false, buffer.size()};
    }
    fields.take(result.taken);
    return {true, result.made};
}

Step unpackGzipMember(Fields& fields, std::span<unsigned char> buffer, const Deflate& deflate)
{
    if (!isGzip(fields.left())) {
        refuseStream();
    }
    skipGzipHeader(fields);
    const Step step = unpackStream(fields, buffer, deflate);
    if (step.hasEnded) {
        const auto checksum = fields.number<std::uint32_t>();
        const auto length = fields.number<std::uint32_t>();
        if (checksum != deflate.crc32(buffer.first(step.made)) ||
            length != static_cast<std::uint32_t>(step.made)) {
            refuseStream();
        }
    }
    return step;
}

Step unpackZlib(Fields& fields, std::span<unsigned char> buffer, const Deflate& deflate)
{
    skipZlibHeader(fields);
    const Step step = unpackStream(fields, buffer, deflate);
    if (step.hasEnded &&
        fields.number<std::uint32_t>(true) != deflate.adler32(buffer.first(step.made))) {
        refuseStream();
    }
    return step;
}

bool isZero(unsigned char byte)
{
    return byte == 0;
}

/** Whether zeros follow and nothing else. */
bool isPadding(ByteView bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), isZero);
}

/** One byte may make the length even; GDCM writes checksum and length as at the end of gzip. */
bool mayFollowRaw(ByteView rest, ByteView unpacked)
{
    constexpr std::size_t trailer = 8;
    if (rest.size() == trailer) {
        return numberAt<std::uint32_t>(rest.data(), 0, false) == crc32(unpacked) &&
               numberAt<std::uint32_t>(rest.data(), 4, false) ==
                   static_cast<std::uint32_t>(unpacked.size());
    }
    return rest.size() <= 1 && isPadding(rest);
}

/** Unpacks all there is, as far as the buffer goes. @throws Refusal for what is damaged. */
Step unpackWhole(std::span<unsigned char> buffer, ByteView packed, const Deflate& deflate)
{
    Fields fields(packed);
    if (!isGzip(packed)) {
        const Step step = unpackZlib(fields, buffer, deflate);
        if (step.hasEnded && !fields.left().empty()) {
            refuseDamaged("its compressed data is followed by " + grouped(fields.left().size()) +
                          " bytes that belong to nothing");
        }
        return step;
    }
    std::size_t made = 0;
    do {
        const Step step = unpackGzipMember(fields, buffer.subspan(made), deflate);
        made += step.made;
        if (!step.hasEnded) {
            return {false, made};
        }
    } while (!isPadding(fields.left()));
    return {true, made};
}

/** A whole member, or as much of it as the buffer takes; then no other one follows. */
std::size_t unpackBeginningOfMember(Fields& fields, std::span<unsigned char> buffer,
                                    const Deflate& deflate)
{
    constexpr std::size_t trailer = 8;
    skipGzipHeader(fields);
    const Unpacked whole = deflate.unpack(fields.left(), buffer);
    if (whole.status == Unpacked::Status::ended) {
        fields = Fields(part(fields.left(), whole.taken + trailer));
        return whole.made;
    }
    const std::size_t made = deflate.unpackBeginning(fields.left(), buffer);
    fields = Fields({});
    return made;
}

std::size_t sizeOf(std::uint64_t bytes)
{
    if (bytes > std::numeric_limits<std::size_t>::max() / 2) {
        throw std::bad_alloc();
    }
    return static_cast<std::size_t>(bytes);
}

/** Calls `unpack` with larger and larger buffers until it says that all has been unpacked. */
template <class Unpack> Bytes unpackGrowing(std::uint64_t first, std::uint64_t most, Unpack unpack)
{
    for (std::uint64_t size = std::min(first, most);; size = std::min(2 * size, most)) {
        Bytes bytes(sizeOf(size));
        const Step step = unpack(bytes.buffer());
        if (step.hasEnded) {
            bytes.shorten(step.made);
            return bytes;
        }
        if (size == most) {
            refuseDamaged("unpacks to more than the " + grouped(most) + " bytes that it can need");
        }
    }
}

void append(unsigned char*& end, std::uint32_t number, bool isBigEndian)
{
    for (unsigned i = 0; i < 4; ++i) {
        const unsigned shift = isBigEndian ? 24 - 8 * i : 8 * i;
        *end++ = static_cast<unsigned char>(number >> shift);
    }
}

/** The packed bytes between a head and a tail. */
Bytes framed(ByteView head, const Bytes& packed, std::span<const std::uint32_t> tail,
             bool isBigEndian)
{
    Bytes bytes(head.size() + packed.size() + 4 * tail.size());
    unsigned char* end = std::copy(head.begin(), head.end(), bytes.data());
    end = std::copy_n(packed.view().data(), packed.size(), end);
    for (const std::uint32_t number : tail) {
        append(end, number, isBigEndian);
    }
    return bytes;
}

} // namespace

bool isGzip(ByteView bytes)
{
    return bytes.size() >= 2 && bytes[0] == 0x1F && bytes[1] == 0x8B;
}

std::uint64_t mostUnpacked(std::size_t packedBytes)
{
    // DEFLATE needs at least one bit for each of the two codes of 258 bytes.
    constexpr std::uint64_t bestCompression = 1032;
    return bestCompression * packedBytes;
}

void unpackInto(std::span<unsigned char> buffer, ByteView packed, const Deflate& deflate)
{
    const Step step = unpackWhole(buffer, packed, deflate);
    if (!step.hasEnded) {
        refuseDamaged("holds more than its grid, or its header lies: its grid needs " +
                      grouped(buffer.size()) + " bytes of values");
    }
    if (step.made < buffer.size()) {
        refuseDamaged("is cut short, or its header lies: its grid needs " + grouped(buffer.size()) +
                      " bytes of values, it unpacks to " + grouped(step.made));
    }
}

Bytes unpackAll(ByteView packed, const Deflate& deflate, std::uint64_t most)
{
    // The last four bytes of a gzip file of one member tell how long it is, modulo 2^32.
    constexpr std::size_t lengthBytes = 4;
    const std::uint64_t told =
        packed.size() < lengthBytes
            ? 0
            : numberAt<std::uint32_t>(packed.data(), packed.size() - lengthBytes, false);
    const std::uint64_t limit = std::min(most, mostUnpacked(packed.size()));
    const std::uint64_t first = std::max<std::uint64_t>(packed.size(), told);
    return unpackGrowing(first, limit, [&](std::span<unsigned char> buffer) {
        return unpackWhole(buffer, packed, deflate);
    });
}

Bytes unpackBeginning(ByteView packed, const Deflate& deflate, std::size_t most)
{
    Bytes bytes(most);
    std::size_t made = 0;
    try {
        Fields fields(packed);
        while (isGzip(fields.left()) && made < most) {
            made += unpackBeginningOfMember(fields, bytes.buffer().subspan(made), deflate);
        }
    } catch (const Refusal&) {
        // What comes before the fault stays.
    }
    bytes.shorten(made);
    return bytes;
}

Bytes unpackRaw(ByteView packed, const Deflate& deflate, std::uint64_t most)
{
    constexpr std::uint64_t usualRatio = 4;
    const std::uint64_t limit = std::min(most, mostUnpacked(packed.size()));
    return unpackGrowing(usualRatio * packed.size(), limit, [&](std::span<unsigned char> buffer) {
        Fields fields(packed);
        const Step step = unpackStream(fields, buffer, deflate);
        if (step.hasEnded && !mayFollowRaw(fields.left(), buffer.first(step.made))) {
            refuseStream();
        }
        return step;
    });
}

Bytes packGzip(ByteView plain, const Deflate& deflate)
{
    constexpr std::array<unsigned char, 10> head = {0x1F, 0x8B, 8, 0, 0, 0, 0, 0, 0, 0xFF};
    const std::array<std::uint32_t, 2> tail = {deflate.crc32(plain),
                                               static_cast<std::uint32_t>(plain.size())};
    return framed(head, deflate.pack(plain), tail, false);
}

Bytes packZlib(ByteView plain, const Deflate& deflate)
{
    constexpr std::array<unsigned char, 2> head = {0x78, 0x9C};
    const std::array<std::uint32_t, 1> tail = {deflate.adler32(plain)};
    return framed(head, deflate.pack(plain), tail, true);
}

} // namespace files
