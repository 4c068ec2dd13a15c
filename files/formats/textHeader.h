/**
 * @file textHeader.h
 * Headers of lines "key separator value", as MetaImage and NRRD have them.
 */
#ifndef ZARNGI_FILES_FORMATS_TEXTHEADER_H
#define ZARNGI_FILES_FORMATS_TEXTHEADER_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "files/bytes.h"
#include "files/text.h"

namespace files
{

/** The lines of a text, one after another. */
class Lines
{
public:
    explicit Lines(ByteView text) : text_(asText(text)) {}

    /** The next line without its end, or nothing behind the last one. */
    std::optional<std::string_view> next();
    /** Bytes up to the next line. */
    std::size_t position() const { return position_; }

private:
    std::string_view text_;
    std::size_t position_ = 0;
};

/** The text without the blanks around it. Other characters that nobody sees are damage. */
std::string_view stripped(std::string_view text);

/** The entries of a header; keys in lower case. */
class TextHeader
{
public:
    /** @throws Refusal when the key is there already with another value. */
    void add(std::string_view key, std::string_view value);

    const std::string* find(std::string_view key) const;
    /** The entry under the one of several names that is there. @throws Refusal when two differ. */
    const std::string* findAny(std::initializer_list<std::string_view> keys) const;
    /** @throws Refusal that names the key when there is none. */
    const std::string& need(std::string_view key) const;
    /** Whether the entry says true, in any of its spellings. @throws Refusal for anything else. */
    bool isTrue(std::initializer_list<std::string_view> keys, bool otherwise) const;

private:
    std::map<std::string, std::string, std::less<>> entries_;
};

/**
 * The finite numbers of an entry, blanks between them; `count` of them where that is not 0.
 * @param what names them in the sentence of the refusal: "a voxel size".
 * @throws Refusal
 */
std::vector<double> numbersOf(std::string_view entry, const char* what, std::size_t count = 0);

/**
 * Reads an entry as numbersOf() does, of whole numbers of a magnitude below 9e15.
 * @throws Refusal
 */
std::vector<std::int64_t> wholeNumbersOf(std::string_view entry, const char* what,
                                         std::size_t count = 0);

/** Refuses a header's claim. */
[[noreturn]] void refuseEntry(const char* what, std::string_view entry);

/** The three-dimensional grid size of a header's sizes, of which those behind are to be 1. */
std::array<std::int64_t, 3> volumeSize(const std::vector<std::int64_t>& sizes);

/** Refuses the names of several data files. */
void checkDataFileName(const std::string& name);

/** Millimetres of a unit of length, if it is one. */
std::optional<double> millimetresOf(std::string_view unit);

} // namespace files

#endif
