#include "files/structures/writeStructureSet.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "files/text.h"

namespace files
{

namespace
{

/** Elements one after the other, in explicit little endian. */
class ElementWriter
{
public:
    /** A text element. @param padding makes its length even. */
    void text(std::uint32_t tag, const char* type, std::string value, char padding = ' ')
    {
        constexpr std::size_t longest = 0xFFFE;
        value.append(value.size() % 2, padding);
        if (value.size() > longest) {
            refuseUnsupported("has a contour that is too long to be written");
        }
        head(tag, type);
        number(static_cast<std::uint16_t>(value.size()));
        bytes_ += value;
    }

    void uid(std::uint32_t tag, const std::string& value) { text(tag, "UI", value, '\0'); }

    /** An element of one of the types with a long length; items of a sequence stand in it. */
    void block(std::uint32_t tag, const char* type, const std::string& value)
    {
        head(tag, type);
        number(std::uint16_t{0});
        number(static_cast<std::uint32_t>(value.size()));
        bytes_ += value;
    }

    void item(const std::string& value)
    {
        constexpr std::uint32_t tag = 0xFFFEE000;
        number(static_cast<std::uint16_t>(tag >> 16));
        number(static_cast<std::uint16_t>(tag & 0xFFFF));
        number(static_cast<std::uint32_t>(value.size()));
        bytes_ += value;
    }

    void length(std::uint32_t tag, std::size_t value)
    {
        head(tag, "UL");
        number(std::uint16_t{4});
        number(static_cast<std::uint32_t>(value));
    }

    const std::string& bytes() const { return bytes_; }

private:
    template <class Number> void number(Number value)
    {
        for (std::size_t i = 0; i < sizeof(Number); ++i) {
            bytes_ += static_cast<char>(value >> (8 * i) & 0xFF);
        }
    }

    void head(std::uint32_t tag, const char* type)
    {
        number(static_cast<std::uint16_t>(tag >> 16));
        number(static_cast<std::uint16_t>(tag & 0xFFFF));
        bytes_ += type;
    }

    std::string bytes_;
};

constexpr const char* structureSetClass = "1.2.840.10008.5.1.4.1.1.481.3";

/** A number of mm to a micrometre, within the sixteen characters of its type. */
std::string coordinate(double value)
{
    constexpr int decimals = 3;
    std::string text = fixed(value, decimals);
    text.erase(text.find_last_not_of('0') + 1);
    return text.ends_with('.') ? text.substr(0, text.size() - 1) : text;
}

std::string contourItem(const Contour& contour)
{
    std::string data;
    for (const Vec3& vertex : contour.vertices) {
        for (const double value : vertex) {
            data += data.empty() ? "" : "\\";
            data += coordinate(value);
        }
    }
    ElementWriter item;
    item.text(0x30060042, "CS", "CLOSED_PLANAR");
    item.text(0x30060046, "IS", std::to_string(contour.vertices.size()));
    item.text(0x30060050, "DS", data);
    return item.bytes();
}

std::string nameItem(const Structure& structure)
{
    ElementWriter item;
    item.text(0x30060022, "IS", std::to_string(structure.number));
    item.uid(0x30060024, structure.frameOfReference);
    item.text(0x30060026, "LO", structure.name);
    item.text(0x30060036, "CS", "");
    return item.bytes();
}

std::string contoursItem(const Structure& structure)
{
    ElementWriter contours;
    for (const Contour& contour : structure.contours) {
        contours.item(contourItem(contour));
    }
    ElementWriter item;
    if (structure.colour) {
        item.text(0x3006002A, "IS", join(*structure.colour, "\\"));
    }
    item.block(0x30060040, "SQ", contours.bytes());
    item.text(0x30060084, "IS", std::to_string(structure.number));
    return item.bytes();
}

std::string typeItem(const Structure& structure)
{
    ElementWriter item;
    item.text(0x30060082, "IS", std::to_string(structure.number));
    item.text(0x30060084, "IS", std::to_string(structure.number));
    item.text(0x300600A4, "CS", structure.type);
    item.text(0x300600A6, "PN", "");
    return item.bytes();
}

template <class ItemOf>
std::string itemsOf(const std::vector<Structure>& structures, const ItemOf& itemOf)
{
    ElementWriter items;
    for (const Structure& structure : structures) {
        items.item(itemOf(structure));
    }
    return items.bytes();
}

std::string metaInformation(const StructureSet& set)
{
    ElementWriter rest;
    rest.block(0x00020001, "OB", std::string("\0\1", 2));
    rest.uid(0x00020002, structureSetClass);
    rest.uid(0x00020003, set.sopInstance);
    rest.uid(0x00020010, "1.2.840.10008.1.2.1"); // explicit little endian
    rest.uid(0x00020012, "2.25.271828182845904523536");
    ElementWriter meta;
    meta.length(0x00020000, rest.bytes().size());
    return meta.bytes() + rest.bytes();
}

std::string dataSet(const StructureSet& set)
{
    ElementWriter data;
    data.text(0x00080005, "CS", "ISO_IR 192"); // UTF-8
    data.uid(0x00080016, structureSetClass);
    data.uid(0x00080018, set.sopInstance);
    data.text(0x00080060, "CS", "RTSTRUCT");
    data.text(0x00100010, "PN", "");
    data.text(0x00100020, "LO", "");
    data.text(0x30060002, "SH", set.label);
    data.block(0x30060020, "SQ", itemsOf(set.structures, nameItem));
    data.block(0x30060039, "SQ", itemsOf(set.structures, contoursItem));
    data.block(0x30060080, "SQ", itemsOf(set.structures, typeItem));
    return data.bytes();
}

} // namespace

Result<Bytes> encodeStructureSet(const StructureSet& set)
{
    return resultOf([&] {
        const std::string file =
            std::string(128, '\0') + "DICM" + metaInformation(set) + dataSet(set);
        Bytes bytes(file.size());
        std::copy(file.begin(), file.end(), bytes.data());
        return bytes;
    });
}

} // namespace files
