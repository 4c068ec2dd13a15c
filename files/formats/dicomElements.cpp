#include "dicomStructure.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <string_view>

#include "failure.h"
#include "text.h"

namespace cli
{

namespace
{

constexpr std::uint32_t undefinedLength = 0xFFFFFFFF;
constexpr std::uint32_t itemTag = 0xFFFEE000;
constexpr std::uint32_t itemEndTag = 0xFFFEE00D;
constexpr std::uint32_t sequenceEndTag = 0xFFFEE0DD;
constexpr std::uint32_t transferSyntaxTag = 0x00020010;
constexpr std::uint32_t pixelDataTag = 0x7FE00010;

/** How elements are written: with or without their type, and in which byte order. */
struct Syntax {
    bool isExplicit = true;
    bool isBigEndian = false;
};

struct Element {
    std::uint32_t tag = 0;
    std::string type; ///< empty in the implicit syntax
    std::uint32_t length = 0;
};

class Walker
{
public:
    explicit Walker(const std::string& path)
        : file_(path, std::ios::binary), end_(std::filesystem::file_size(path))
    {
    }

    void walk()
    {
        skipPreamble();
        const std::string syntax = walkMetaInformation();
        walkElements(syntaxOf(syntax), 0, Extent::told);
    }

private:
    /** Whether a sequence or item ends where its length tells, or at a mark. */
    enum class Extent { told, open };

    void skipPreamble()
    {
        constexpr std::uintmax_t preamble = 128;
        position_ = preamble;
        const std::string mark = end_ >= preamble + 4 ? bytes(4) : "";
        position_ = mark == "DICM" ? preamble + 4 : 0;
    }

    /** The elements of group 2, always explicit and little endian; gives the transfer syntax. */
    std::string walkMetaInformation()
    {
        std::string syntax;
        while (end_ - position_ >= 8 && nextGroup() == 2) {
            const Element element = readElement({});
            requireBytes(element.length, element.tag);
            if (element.tag == transferSyntaxTag) {
                syntax = trimmed(bytes(element.length));
            } else {
                position_ += element.length;
            }
        }
        return syntax;
    }

    std::uint32_t nextGroup()
    {
        const std::uintmax_t start = position_;
        const std::uint32_t group = readNumber(2, {});
        position_ = start;
        return group;
    }

    Syntax syntaxOf(const std::string& name)
    {
        if (name == "1.2.840.10008.1.2.1.99") {
            throw InputError("is a deflated DICOM file; store it without compression");
        }
        if (!name.empty()) {
            return {name != "1.2.840.10008.1.2", name == "1.2.840.10008.1.2.2"};
        }
        // Without meta information: types are capital letters, lengths of early elements are not.
        const std::uintmax_t start = position_;
        const std::string head = end_ - position_ >= 8 ? bytes(8) : std::string(8, '\0');
        position_ = start;
        const auto isCapital = [](char c) { return c >= 'A' && c <= 'Z'; };
        return {isCapital(head[4]) && isCapital(head[5]), false};
    }

    /** Elements up to the end of the file or, inside a sequence, of the item. */
    void walkElements(const Syntax& syntax, int depth, Extent extent)
    {
        while (extent == Extent::open || position_ < end_) {
            const Element element = readElement(syntax);
            if (element.tag == itemEndTag && extent == Extent::open) {
                return;
            }
            if (element.tag == itemTag) {
                throw InputError("is damaged: an item of DICOM lies outside a sequence");
            }
            skipValue(element, syntax, depth);
        }
    }

    void skipValue(const Element& element, const Syntax& syntax, int depth)
    {
        constexpr int deepest = 32;
        if (depth >= deepest) {
            throw InputError("is damaged: its sequences of DICOM are too deep");
        }
        if (element.length != undefinedLength) {
            requireBytes(element.length, element.tag);
            if (holdsItems(element)) {
                within(element.length, [&] { walkItems(syntax, depth, Extent::told); });
            } else {
                position_ += element.length;
            }
            return;
        }
        const bool mayBeOpen = element.type.empty() || element.type == "SQ" ||
                               element.type == "UN" || element.tag == pixelDataTag;
        if (!mayBeOpen) {
            throw InputError("is damaged: an element of DICOM has no length");
        }
        if (element.tag == pixelDataTag) {
            skipFragments(syntax);
        } else {
            // An element of unknown type is written like the implicit syntax.
            walkItems(element.type == "UN" ? Syntax{false, false} : syntax, depth, Extent::open);
        }
    }

    /** Whether the value at the position is a sequence: told, or as other readers guess it. */
    bool holdsItems(const Element& element)
    {
        if (element.type == "SQ") {
            return true;
        }
        const std::uintmax_t start = position_;
        const bool mayBe = element.type.empty() && element.tag != pixelDataTag &&
                           element.length >= 8 && readNumber(2, {}) == itemTag >> 16 &&
                           readNumber(2, {}) == (itemTag & 0xFFFF);
        position_ = start;
        return mayBe;
    }

    /** Walks something that must end where its length tells. */
    template <class Walk> void within(std::uintmax_t length, const Walk& walk)
    {
        const std::uintmax_t outerEnd = end_;
        end_ = position_ + length;
        walk();
        end_ = outerEnd;
    }

    /** An item's head, or nothing at the mark that ends an open sequence. */
    std::optional<Element> readItem(const Syntax& syntax, Extent extent)
    {
        const Element item = readElement(syntax);
        if (item.tag == sequenceEndTag && extent == Extent::open) {
            return {};
        }
        if (item.tag != itemTag) {
            throw InputError("is damaged: a sequence of DICOM has no end");
        }
        if (item.length != undefinedLength) {
            requireBytes(item.length, item.tag);
        }
        return item;
    }

    void walkItems(const Syntax& syntax, int depth, Extent extent)
    {
        while (extent == Extent::open || position_ < end_) {
            const std::optional<Element> item = readItem(syntax, extent);
            if (!item) {
                return;
            }
            if (item->length == undefinedLength) {
                walkElements(syntax, depth + 1, Extent::open);
            } else {
                within(item->length, [&] { walkElements(syntax, depth + 1, Extent::told); });
            }
        }
    }

    /** The pieces of compressed pixel data. */
    void skipFragments(const Syntax& syntax)
    {
        while (const std::optional<Element> item = readItem(syntax, Extent::open)) {
            if (item->length == undefinedLength) {
                throw InputError("is damaged: a piece of its compressed dose has no length");
            }
            position_ += item->length;
        }
    }

    Element readElement(const Syntax& syntax)
    {
        Element element;
        element.tag = readNumber(2, syntax) << 16;
        element.tag |= readNumber(2, syntax);
        if (!syntax.isExplicit || element.tag >> 16 == itemTag >> 16) {
            element.length = readNumber(4, syntax);
            const bool isMark = element.tag == itemEndTag || element.tag == sequenceEndTag;
            if (isMark && element.length != 0) {
                throw InputError("is damaged: a mark of DICOM has a length");
            }
            return element;
        }
        element.type = bytes(2);
        if (hasLongLength(element.type)) {
            readNumber(2, syntax); // reserved
            element.length = readNumber(4, syntax);
        } else {
            element.length = readNumber(2, syntax);
        }
        return element;
    }

    /** Readers differ in what they take the length of an unknown type for: none is let through. */
    static bool hasLongLength(const std::string& type)
    {
        static const std::set<std::string_view> shortTypes = {
            "AE", "AS", "AT", "CS", "DA", "DS", "DT", "FD", "FL", "IS", "LO",
            "LT", "PN", "SH", "SL", "SS", "ST", "TM", "UI", "UL", "US"};
        static const std::set<std::string_view> longTypes = {
            "OB", "OD", "OF", "OL", "OV", "OW", "SQ", "SV", "UC", "UN", "UR", "UT", "UV"};
        const bool isLong = longTypes.contains(type);
        if (!isLong && !shortTypes.contains(type)) {
            throw InputError("is damaged: DICOM has no elements of type \"" + excerpt(type) + "\"");
        }
        return isLong;
    }

    std::uint32_t readNumber(std::size_t count, const Syntax& syntax)
    {
        const std::string raw = bytes(count);
        std::uint32_t number = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const char c = raw[syntax.isBigEndian ? i : count - 1 - i];
            number = number << 8 | static_cast<unsigned char>(c);
        }
        return number;
    }

    std::string bytes(std::size_t count)
    {
        requireBytes(count, 0);
        std::string raw(count, '\0');
        file_.seekg(static_cast<std::streamoff>(position_));
        file_.read(raw.data(), static_cast<std::streamsize>(count));
        position_ += count;
        return raw;
    }

    void requireBytes(std::uintmax_t count, std::uint32_t tag) const
    {
        if (end_ - position_ < count) {
            const std::string what = tag == pixelDataTag ? " of dose" : "";
            throw InputError("is cut short: " + grouped(count) + " bytes" + what +
                             " should follow, " + grouped(end_ - position_) + " do");
        }
    }

    std::ifstream file_;
    std::uintmax_t end_;
    std::uintmax_t position_ = 0;
};

} // namespace

void checkDicomStructure(const std::string& path)
{
    Walker(path).walk();
}

} // namespace cli
