#include "files/formats/dicom/frames.h"

#include <algorithm>

#include "files/error.h"
#include "files/text.h"

namespace files
{

namespace
{

ByteView joined(std::span<const ByteView> pieces, Bytes& buffer)
{
    std::size_t size = 0;
    for (const ByteView piece : pieces) {
        size += piece.size();
    }
    buffer = Bytes(size);
    unsigned char* end = buffer.data();
    for (const ByteView piece : pieces) {
        end = std::copy(piece.begin(), piece.end(), end);
    }
    return buffer.view();
}

} // namespace

DicomFrames::DicomFrames(const DicomElement& pixels, std::size_t count)
    : pieces_(dicomItems(pixels)), count_(count)
{
    if (!pieces_.empty()) {
        table_ = pieces_[0];
        pieces_.erase(pieces_.begin());
    }
    if (pieces_.size() < count) {
        refuseDamaged("is cut short: " + grouped(pieces_.size()) + " pieces of packed dose for " +
                      grouped(count) + " frames");
    }
    if (!table_.empty() && table_.size() != sizeof(std::uint32_t) * count) {
        refuseDamaged("has a table of packed frames of " + grouped(table_.size()) + " bytes for " +
                      grouped(count) + " frames");
    }
    if (table_.empty() && count > 1 && pieces_.size() != count) {
        refuseUnsupported("has " + grouped(pieces_.size()) + " pieces of packed dose for " +
                          grouped(count) +
                          " frames, and no table that tells which belong together");
    }
}

ByteView DicomFrames::next(Bytes& buffer)
{
    const std::size_t end = endOfNext();
    const std::span<const ByteView> own(pieces_.data() + piece_, end - piece_);
    piece_ = end;
    ++frame_;
    return own.size() == 1 ? own[0] : joined(own, buffer);
}

/** Where a frame begins: bytes from the head of the first piece on. */
std::uint64_t DicomFrames::told(std::size_t frame) const
{
    return numberAt<std::uint32_t>(table_.data(), sizeof(std::uint32_t) * frame, false);
}

/** One behind the last piece of the next frame. */
std::size_t DicomFrames::endOfNext() const
{
    constexpr std::uint64_t headBytes = 8;
    const bool isLast = frame_ + 1 == count_;
    if (table_.empty()) {
        return isLast ? pieces_.size() : piece_ + 1;
    }
    const std::uint64_t goal = isLast ? ~std::uint64_t{0} : told(frame_ + 1);
    std::uint64_t position = told(frame_);
    std::size_t end = piece_;
    while (end < pieces_.size() && position < goal) {
        position += headBytes + pieces_[end++].size();
    }
    if (told(0) != 0 || end == piece_ || (!isLast && position != goal)) {
        refuseDamaged("is damaged: the table of its packed frames names places between its pieces");
    }
    return end;
}

} // namespace files
