#include "files/formats/dicom/elements.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "files/error.h"
#include "files/text.h"

namespace files
{

namespace
{

constexpr std::uint32_t undefinedLength = 0xFFFFFFFF;
constexpr std::uint32_t itemTag = 0xFFFEE000;
constexpr std::uint32_t itemEndTag = 0xFFFEE00D;
constexpr std::uint32_t sequenceEndTag = 0xFFFEE0DD;
constexpr std::uint32_t pixelDataTag = 0x7FE00010;
constexpr std::size_t markBytes = 8;
constexpr DicomSyntax implicitSyntax{false, false};

/** Readers differ in what they take the length of an unknown type for: none is let through. */
bool hasLongLength(std::string_view type)
{
    static constexpr std::array<std::string_view, 21> shortTypes = {
        "AE", "AS", "AT", "CS", "DA", "DS", "DT", "FD", "FL", "IS", "LO",
        "LT", "PN", "SH", "SL", "SS", "ST", "TM", "UI", "UL", "US"};
    static constexpr std::array<std::string_view, 13> longTypes = {
        "OB", "OD", "OF", "OL", "OV", "OW", "SQ", "SV", "UC", "UN", "UR", "UT", "UV"};
    const bool isLong = std::find(longTypes.begin(), longTypes.end(), type) != longTypes.end();
    if (!isLong && std::find(shortTypes.begin(), shortTypes.end(), type) == shortTypes.end()) {
        refuseDamaged("is damaged: DICOM has no elements of type \"" + excerpt(type) + "\"");
    }
    return isLong;
}

/** What stands before a value. */
struct Head {
    std::uint32_t tag = 0;
    std::string_view type;
    std::uint32_t length = 0;

    bool isOpen() const { return length == undefinedLength; }
};

DicomSyntax itemSyntaxOf(const Head& head, const DicomSyntax& syntax)
{
    // An element of unknown type is written like the implicit syntax.
    return head.type == "UN" ? implicitSyntax : syntax;
}

class Walker
{
public:
    explicit Walker(ByteView bytes) : bytes_(bytes), end_(bytes.size()) {}

    /** The elements outside of all items that have been walked over. */
    std::vector<DicomElement>& elements() { return elements_; }
    ByteView rest() const { return bytes_.subspan(position_, end_ - position_); }

    /** Whether a sequence or item ends where its length tells, or at a mark. */
    enum class Extent { told, open };

    /** Elements up to the end of the bytes or, inside a sequence, of the item. */
    void walkElements(const DicomSyntax& syntax, int depth = 0, Extent extent = Extent::told)
    {
        while (extent == Extent::open || position_ < end_) {
            const Head head = readHead(syntax);
            if (head.tag == itemEndTag && extent == Extent::open) {
                return;
            }
            if (head.tag == itemTag) {
                refuseDamaged("is damaged: an item of DICOM lies outside a sequence");
            }
            const ByteView value = takeValue(head, syntax, depth);
            if (depth == 0) {
                keep({head.tag, head.type, value, head.isOpen(), itemSyntaxOf(head, syntax)});
            }
        }
    }

    /** The elements of group 2, which are always explicit and little endian. */
    void walkMetaInformation()
    {
        while (end_ - position_ >= 8 && numberAt<std::uint16_t>(rest().data(), 0, false) == 2) {
            const Head head = readHead({});
            const ByteView value = takeBytes(head.length, head.tag);
            keep({head.tag, head.type, value, false, {}});
        }
    }

    std::vector<ByteView> takeItems(const DicomSyntax& syntax)
    {
        std::vector<ByteView> items;
        while (position_ < end_) {
            items.push_back(takeItem(*readItem(syntax, Extent::told), syntax, 1));
        }
        return items;
    }

private:
    void keep(const DicomElement& element)
    {
        constexpr std::size_t most = 1 << 20; // keeps empty elements from filling the memory
        if (elements_.size() == most) {
            refuseDamaged("is damaged: it has more than " + grouped(most) + " elements of DICOM");
        }
        elements_.push_back(element);
    }

    ByteView takeValue(const Head& head, const DicomSyntax& syntax, int depth)
    {
        constexpr int deepest = 32;
        if (depth >= deepest) {
            refuseDamaged("is damaged: its sequences of DICOM are too deep");
        }
        if (head.isOpen()) {
            return takeOpenValue(head, syntax, depth);
        }
        const ByteView value = takeBytes(head.length, head.tag);
        if (holdsItems(head, value, syntax)) {
            within(value, [&] { walkItems(syntax, depth, Extent::told); });
        }
        return value;
    }

    ByteView takeOpenValue(const Head& head, const DicomSyntax& syntax, int depth)
    {
        const bool mayBeOpen =
            head.type.empty() || head.type == "SQ" || head.type == "UN" || head.tag == pixelDataTag;
        if (!mayBeOpen) {
            refuseDamaged("is damaged: an element of DICOM has no length");
        }
        const std::size_t start = position_;
        if (head.tag == pixelDataTag) {
            walkFragments(syntax);
        } else {
            walkItems(itemSyntaxOf(head, syntax), depth, Extent::open);
        }
        return upToMark(start);
    }

    /** What lies between a position and the mark that has just been read. */
    ByteView upToMark(std::size_t start) const
    {
        return bytes_.subspan(start, position_ - markBytes - start);
    }

    /** Whether a value is a sequence: told, or as other readers guess it. */
    static bool holdsItems(const Head& head, ByteView value, const DicomSyntax& syntax)
    {
        if (!head.type.empty() || head.tag == pixelDataTag) {
            return head.type == "SQ";
        }
        return value.size() >= 8 && tagAt(value, 0, syntax) == itemTag;
    }

    /** Walks over a value that has been taken; what is in it must end where it does. */
    template <class Walk> void within(ByteView value, const Walk& walk)
    {
        const std::size_t outerEnd = std::exchange(end_, position_);
        position_ -= value.size();
        walk();
        end_ = outerEnd;
    }

    /** An item's head, or nothing at the mark that ends an open sequence. */
    std::optional<Head> readItem(const DicomSyntax& syntax, Extent extent)
    {
        const Head item = readHead(syntax);
        if (item.tag == sequenceEndTag && extent == Extent::open) {
            return {};
        }
        if (item.tag != itemTag) {
            refuseDamaged("is damaged: a sequence of DICOM has no end");
        }
        return item;
    }

    void walkItems(const DicomSyntax& syntax, int depth, Extent extent)
    {
        while (extent == Extent::open || position_ < end_) {
            const std::optional<Head> item = readItem(syntax, extent);
            if (!item) {
                return;
            }
            const ByteView content = takeItem(*item, syntax, depth + 1);
            if (!item->isOpen()) {
                within(content, [&] { walkElements(syntax, depth + 1); });
            }
        }
    }

    /** The content of an item, which has been walked over if it is open. */
    ByteView takeItem(const Head& item, const DicomSyntax& syntax, int depth)
    {
        if (!item.isOpen()) {
            return takeBytes(item.length, item.tag);
        }
        const std::size_t start = position_;
        walkElements(syntax, depth, Extent::open);
        return upToMark(start);
    }

    /** The pieces of packed pixel data. */
    void walkFragments(const DicomSyntax& syntax)
    {
        while (const std::optional<Head> item = readItem(syntax, Extent::open)) {
            if (item->isOpen()) {
                refuseDamaged("is damaged: a piece of its compressed dose has no length");
            }
            takeBytes(item->length, item->tag);
        }
    }

    Head readHead(const DicomSyntax& syntax)
    {
        Head head;
        head.tag = tagAt(takeBytes(4), 0, syntax);
        if (!syntax.isExplicit || head.tag >> 16 == itemTag >> 16) {
            head.length = takeNumber<std::uint32_t>(syntax);
            const bool isMark = head.tag == itemEndTag || head.tag == sequenceEndTag;
            if (isMark && head.length != 0) {
                refuseDamaged("is damaged: a mark of DICOM has a length");
            }
            return head;
        }
        head.type = asText(takeBytes(2));
        if (hasLongLength(head.type)) {
            takeBytes(2); // reserved
            head.length = takeNumber<std::uint32_t>(syntax);
        } else {
            head.length = takeNumber<std::uint16_t>(syntax);
        }
        return head;
    }

    static std::uint32_t tagAt(ByteView bytes, std::size_t position, const DicomSyntax& syntax)
    {
        const auto half = [&](std::size_t i) -> std::uint32_t {
            return numberAt<std::uint16_t>(bytes.data(), position + 2 * i, syntax.isBigEndian);
        };
        return half(0) << 16 | half(1);
    }

    template <class Number> Number takeNumber(const DicomSyntax& syntax)
    {
        return numberAt<Number>(takeBytes(sizeof(Number)).data(), 0, syntax.isBigEndian);
    }

    ByteView takeBytes(std::size_t count, std::uint32_t tag = 0)
    {
        if (end_ - position_ < count) {
            const std::string what = tag == pixelDataTag ? " of dose" : "";
            refuseDamaged("is cut short: " + grouped(count) + " bytes" + what + " should follow, " +
                          grouped(end_ - position_) + " do");
        }
        position_ += count;
        return bytes_.subspan(position_ - count, count);
    }

    ByteView bytes_;
    std::size_t end_; // of what is being walked over
    std::size_t position_ = 0;
    std::vector<DicomElement> elements_;
};

ByteView withoutPreamble(ByteView file)
{
    constexpr std::size_t preamble = 128;
    constexpr std::string_view mark = "DICM";
    const bool hasMark = asText(part(file, preamble, mark.size())) == mark;
    return hasMark ? part(file, preamble + mark.size()) : file;
}

DicomSyntax syntaxOf(const std::string& transferSyntax, ByteView dataSet)
{
    if (!transferSyntax.empty()) {
        return {transferSyntax != "1.2.840.10008.1.2", transferSyntax == "1.2.840.10008.1.2.2"};
    }
    if (dataSet.size() < 8) {
        return implicitSyntax;
    }
    // Types are capital letters, lengths of early elements are not; early groups are small numbers.
    constexpr unsigned largestGroup = 0x00FF;
    const auto isCapital = [](unsigned char c) { return c >= 'A' && c <= 'Z'; };
    const bool isExplicit = isCapital(dataSet[4]) && isCapital(dataSet[5]);
    const bool isSwapped = numberAt<std::uint16_t>(dataSet.data(), 0, false) > largestGroup;
    return {isExplicit, isExplicit && isSwapped};
}

} // namespace

DicomDataSet::DicomDataSet(std::vector<DicomElement> elements) : elements_(std::move(elements))
{
    std::sort(elements_.begin(), elements_.end(),
              [](const DicomElement& a, const DicomElement& b) { return a.tag < b.tag; });
}

const DicomElement* DicomDataSet::find(const DicomTag& tag) const
{
    const auto first = std::lower_bound(
        elements_.begin(), elements_.end(), tag.number,
        [](const DicomElement& element, std::uint32_t number) { return element.tag < number; });
    if (first == elements_.end() || first->tag != tag.number) {
        return nullptr;
    }
    if (first + 1 != elements_.end() && (first + 1)->tag == tag.number) {
        refuseDamaged("gives " + std::string(tag.name) + " twice");
    }
    return &*first;
}

DicomStart readDicomStart(ByteView file)
{
    constexpr DicomTag transferSyntax{0x00020010, "Transfer Syntax UID"};
    Walker walker(withoutPreamble(file));
    walker.walkMetaInformation();
    DicomStart start{DicomDataSet(std::move(walker.elements())), {}, {}, walker.rest()};
    if (const DicomElement* const name = start.meta.find(transferSyntax)) {
        start.transferSyntax = trimmed(asText(name->value));
    }
    start.syntax = syntaxOf(start.transferSyntax, start.dataSet);
    return start;
}

DicomDataSet readDicomElements(ByteView dataSet, const DicomSyntax& syntax)
{
    Walker walker(dataSet);
    walker.walkElements(syntax);
    return DicomDataSet(std::move(walker.elements()));
}

DicomDataSet readWholeDicomElements(ByteView beginning, const DicomSyntax& syntax)
{
    Walker walker(beginning);
    try {
        walker.walkElements(syntax);
    } catch (const Refusal&) {
        // What comes before the fault stays.
    }
    return DicomDataSet(std::move(walker.elements()));
}

std::vector<ByteView> dicomItems(const DicomElement& element)
{
    return Walker(element.value).takeItems(element.itemSyntax);
}

} // namespace files
