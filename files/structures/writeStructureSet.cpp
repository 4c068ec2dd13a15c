#include "files/structures/writeStructureSet.h"

#include <string>

#include "files/formats/dicom/elementWriter.h"
#include "files/text.h"

namespace files
{

namespace
{

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
    return resultOf([&] { return dicomFileOf(structureSetClass, set.sopInstance, dataSet(set)); });
}

} // namespace files
