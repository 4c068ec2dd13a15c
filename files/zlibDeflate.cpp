#include "files/zlibDeflate.h"

#include <zlib.h>

#include <limits>
#include <new>

namespace files
{

namespace
{

/** zlib counts in unsigned int: the next part of a longer block. */
uInt nextPart(std::size_t bytes)
{
    constexpr std::size_t largest = std::numeric_limits<uInt>::max();
    return static_cast<uInt>(std::min(bytes, largest));
}

class Inflater
{
public:
    Inflater(ByteView packed, std::span<unsigned char> room) : packed_(packed), room_(room)
    {
        if (inflateInit2(&stream_, -MAX_WBITS) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    ~Inflater() { inflateEnd(&stream_); }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;

    Unpacked unpack()
    {
        while (made_ < room_.size()) {
            if (!step(room_.data() + made_, room_.size() - made_)) {
                return result();
            }
        }
        // A stream that has filled the room may be at its end without having said so.
        unsigned char beyond = 0;
        const std::size_t whole = made_;
        while (made_ == whole && step(&beyond, 1)) {
        }
        return made_ == whole ? result() : Unpacked{Unpacked::Status::full, 0, whole};
    }

private:
    /** Unpacks what it can; false when the stream has ended or is damaged. */
    bool step(unsigned char* out, std::size_t room)
    {
        const uInt in = nextPart(packed_.size() - taken_);
        const uInt part = nextPart(room);
        stream_.next_in = const_cast<Bytef*>(packed_.data() + taken_);
        stream_.avail_in = in;
        stream_.next_out = out;
        stream_.avail_out = part;
        status_ = inflate(&stream_, Z_NO_FLUSH);
        if (status_ == Z_MEM_ERROR) {
            throw std::bad_alloc();
        }
        taken_ += in - stream_.avail_in;
        made_ += part - stream_.avail_out;
        return status_ == Z_OK; // a lack of input comes as Z_BUF_ERROR
    }

    Unpacked result() const
    {
        const bool hasEnded = status_ == Z_STREAM_END;
        return {hasEnded ? Unpacked::Status::ended : Unpacked::Status::damaged, taken_, made_};
    }

    ByteView packed_;
    std::span<unsigned char> room_;
    z_stream stream_{};
    std::size_t taken_ = 0;
    std::size_t made_ = 0;
    int status_ = Z_OK;
};

Unpacked unpack(ByteView packed, std::span<unsigned char> room)
{
    return Inflater(packed, room).unpack();
}

Bytes pack(ByteView plain)
{
    z_stream stream{};
    constexpr int usualMemory = 8;
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -MAX_WBITS, usualMemory,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::bad_alloc();
    }
    const std::unique_ptr<z_stream, int (*)(z_stream*)> ending(&stream, deflateEnd);
    Bytes packed(deflateBound(&stream, plain.size()));
    std::size_t taken = 0;
    std::size_t made = 0;
    for (int status = Z_OK; status != Z_STREAM_END;) {
        const uInt in = nextPart(plain.size() - taken);
        const uInt out = nextPart(packed.size() - made);
        stream.next_in = const_cast<Bytef*>(plain.data() + taken);
        stream.avail_in = in;
        stream.next_out = packed.data() + made;
        stream.avail_out = out;
        status = deflate(&stream, taken + in == plain.size() ? Z_FINISH : Z_NO_FLUSH);
        taken += in - stream.avail_in;
        made += out - stream.avail_out;
    }
    packed.shorten(made);
    return packed;
}

} // namespace

const Deflate& zlibDeflate()
{
    static constexpr Deflate codec = {unpack, pack};
    return codec;
}

} // namespace files
