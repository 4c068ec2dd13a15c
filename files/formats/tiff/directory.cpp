#include "files/formats/tiff/directory.h"

#include <algorithm>
#include <array>

#include "files/error.h"
#include "files/text.h"

namespace files
{

namespace
{

using namespace std::literals;

constexpr std::size_t headBytes = 8;
constexpr std::size_t entryBytes = 12;

/** How the values of an entry are written. */
namespace types
{
constexpr unsigned byte = 1;
constexpr unsigned text = 2;
constexpr unsigned shortNumber = 3;
constexpr unsigned longNumber = 4;
constexpr unsigned quotient = 5;
} // namespace types

[[noreturn]] void refuseCut()
{
    refuseDamaged("is a TIFF that is cut short, or names places outside of itself");
}

[[noreturn]] void refuseEntry(const TiffTag& tag)
{
    refuseDamaged(std::string("is a TIFF whose ") + tag.name + " is none");
}

std::size_t sizeOf(unsigned type)
{
    return type == types::shortNumber ? 2 : type == types::longNumber ? 4 : 1;
}

} // namespace

bool startsLikeTiff(std::string_view beginning)
{
    constexpr std::array<std::string_view, 4> marks{"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv};
    return std::any_of(marks.begin(), marks.end(),
                       [&](std::string_view mark) { return beginning.starts_with(mark); });
}

TiffDirectory::TiffDirectory(ByteView file) : file_(file)
{
    constexpr unsigned usual = 42;
    if (file.size() < headBytes) {
        refuseCut();
    }
    isBigEndian_ = file[0] == 'M';
    if (at<std::uint16_t>(2) != usual) {
        refuseUnsupported("is a BigTIFF; save it as a TIFF of the usual size");
    }
    readEntries(at<std::uint32_t>(4));
}

void TiffDirectory::readEntries(std::size_t place)
{
    constexpr std::size_t rest = 4; // the place of another directory
    if (place < headBytes || place > file_.size() || file_.size() - place < 2) {
        refuseCut();
    }
    const std::size_t bytes = at<std::uint16_t>(place) * entryBytes;
    if (file_.size() - place - 2 < bytes + rest) {
        refuseCut();
    }
    const std::size_t end = place + 2 + bytes;
    for (std::size_t entry = place + 2; entry < end; entry += entryBytes) {
        const bool isNew =
            entries_
                .emplace(at<std::uint16_t>(entry), Entry{at<std::uint16_t>(entry + 2),
                                                         at<std::uint32_t>(entry + 4), entry + 8})
                .second;
        if (!isNew) {
            refuseDamaged("is a TIFF that tells its entry " +
                          std::to_string(at<std::uint16_t>(entry)) + " twice");
        }
    }
    if (at<std::uint32_t>(end) != 0) {
        refuseUnsupported("is a TIFF of more than one image; save the one of the doses alone");
    }
}

const TiffDirectory::Entry& TiffDirectory::need(const TiffTag& tag) const
{
    const auto found = entries_.find(tag.number);
    if (found == entries_.end()) {
        refuseDamaged(std::string("is a TIFF that tells no ") + tag.name);
    }
    return found->second;
}

/** @param size bytes of one of its values */
ByteView TiffDirectory::bytesOf(const TiffTag& tag, const Entry& entry, std::size_t size) const
{
    constexpr std::size_t inside = 4; // bytes that an entry holds itself
    const std::uint64_t bytes = std::uint64_t{entry.count} * size;
    if (bytes == 0) {
        refuseEntry(tag);
    }
    const std::size_t place = bytes <= inside ? entry.place : at<std::uint32_t>(entry.place);
    if (place > file_.size() || bytes > file_.size() - place) {
        refuseCut();
    }
    return file_.subspan(place, static_cast<std::size_t>(bytes));
}

std::vector<std::uint32_t> TiffDirectory::numbers(const TiffTag& tag) const
{
    const Entry& entry = need(tag);
    if (entry.type != types::byte && entry.type != types::shortNumber &&
        entry.type != types::longNumber) {
        refuseEntry(tag);
    }
    const std::size_t size = sizeOf(entry.type);
    const ByteView bytes = bytesOf(tag, entry, size);
    std::vector<std::uint32_t> list(entry.count);
    for (std::size_t i = 0; i < list.size(); ++i) {
        const unsigned char* const value = bytes.data() + i * size;
        list[i] = size == 1   ? *value
                  : size == 2 ? numberAt<std::uint16_t>(value, 0, isBigEndian_)
                              : numberAt<std::uint32_t>(value, 0, isBigEndian_);
    }
    return list;
}

std::uint32_t TiffDirectory::number(const TiffTag& tag) const
{
    if (need(tag).count != 1) {
        refuseEntry(tag);
    }
    return numbers(tag)[0];
}

std::uint32_t TiffDirectory::number(const TiffTag& tag, std::uint32_t otherwise) const
{
    return has(tag) ? number(tag) : otherwise;
}

std::optional<double> TiffDirectory::quotient(const TiffTag& tag) const
{
    if (!has(tag)) {
        return {};
    }
    const Entry& entry = need(tag);
    if (entry.type != types::quotient || entry.count != 1) {
        refuseEntry(tag);
    }
    const ByteView bytes = bytesOf(tag, entry, headBytes);
    const auto above = numberAt<std::uint32_t>(bytes.data(), 0, isBigEndian_);
    const auto below = numberAt<std::uint32_t>(bytes.data(), 4, isBigEndian_);
    return above == 0 || below == 0 ? std::nullopt
                                    : std::optional(static_cast<double>(above) / below);
}

std::string_view TiffDirectory::text(const TiffTag& tag) const
{
    if (!has(tag) || need(tag).type != types::text || need(tag).count == 0) {
        return {};
    }
    const std::string_view text = asText(bytesOf(tag, need(tag), 1));
    return text.substr(0, text.find('\0'));
}

} // namespace files
