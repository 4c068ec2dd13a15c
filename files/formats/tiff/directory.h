/**
 * @file directory.h
 * The directory of a TIFF (revision 6.0): what it tells of its one image.
 */
#ifndef ZARNGI_FILES_FORMATS_TIFF_DIRECTORY_H
#define ZARNGI_FILES_FORMATS_TIFF_DIRECTORY_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "files/bytes.h"

namespace files
{

/** A kind of entry, and what it is called in messages. */
struct TiffTag {
    std::uint16_t number;
    const char* name;
};

/** Whether a file begins like a TIFF of either size and byte order. */
bool startsLikeTiff(std::string_view beginning);

class TiffDirectory
{
public:
    /**
     * @param file must outlive this.
     * @throws Refusal when it is damaged, a BigTIFF, or of more than one image.
     */
    explicit TiffDirectory(ByteView file);

    ByteView file() const { return file_; }
    bool isBigEndian() const { return isBigEndian_; }
    bool has(const TiffTag& tag) const { return entries_.count(tag.number) > 0; }

    /** As many as there are, at least one. @throws Refusal when missing, or no whole numbers */
    std::vector<std::uint32_t> numbers(const TiffTag& tag) const;

    /** The one that is told. @throws Refusal when missing, or not one whole number */
    std::uint32_t number(const TiffTag& tag) const;
    std::uint32_t number(const TiffTag& tag, std::uint32_t otherwise) const;

    /** The quotient of two whole numbers, if it is told and one. @throws Refusal */
    std::optional<double> quotient(const TiffTag& tag) const;

    /** Empty where none is told. @throws Refusal when it lies outside of the file */
    std::string_view text(const TiffTag& tag) const;

private:
    struct Entry {
        unsigned type;
        std::uint32_t count;
        std::size_t place; ///< of the four bytes that hold its values, or where they lie
    };

    template <class Number> Number at(std::size_t place) const
    {
        return numberAt<Number>(file_.data(), place, isBigEndian_);
    }
    void readEntries(std::size_t place);
    const Entry& need(const TiffTag& tag) const;
    ByteView bytesOf(const TiffTag& tag, const Entry& entry, std::size_t size) const;

    ByteView file_;
    bool isBigEndian_ = false;
    std::map<std::uint16_t, Entry> entries_;
};

} // namespace files

#endif
