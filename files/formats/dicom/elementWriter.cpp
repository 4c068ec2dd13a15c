#include "files/formats/dicom/elementWriter.h"

#include <algorithm>

#include "files/error.h"
#include "files/text.h"

namespace files
{

template <class Number> void ElementWriter::put(Number value)
{
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        bytes_ += static_cast<char>(value >> (8 * i) & 0xFF);
    }
}

void ElementWriter::head(std::uint32_t tag, const char* type)
{
    put(static_cast<std::uint16_t>(tag >> 16));
    put(static_cast<std::uint16_t>(tag & 0xFFFF));
    bytes_ += type;
}

void ElementWriter::text(std::uint32_t tag, const char* type, std::string value, char padding)
{
    constexpr std::size_t longest = 0xFFFE;
    value.append(value.size() % 2, padding);
    if (value.size() > longest) {
        refuseUnsupported("has a list that is too long to be written");
    }
    head(tag, type);
    put(static_cast<std::uint16_t>(value.size()));
    bytes_ += value;
}

void ElementWriter::number(std::uint32_t tag, std::uint16_t value)
{
    head(tag, "US");
    put(std::uint16_t{2});
    put(value);
}

void ElementWriter::pointer(std::uint32_t tag, std::uint32_t other)
{
    head(tag, "AT");
    put(std::uint16_t{4});
    put(static_cast<std::uint16_t>(other >> 16));
    put(static_cast<std::uint16_t>(other & 0xFFFF));
}

void ElementWriter::block(std::uint32_t tag, const char* type, std::string_view value)
{
    head(tag, type);
    put(std::uint16_t{0});
    put(static_cast<std::uint32_t>(value.size()));
    bytes_ += value;
}

void ElementWriter::item(std::string_view value)
{
    constexpr std::uint32_t tag = 0xFFFEE000;
    put(static_cast<std::uint16_t>(tag >> 16));
    put(static_cast<std::uint16_t>(tag & 0xFFFF));
    put(static_cast<std::uint32_t>(value.size()));
    bytes_ += value;
}

void ElementWriter::length(std::uint32_t tag, std::size_t value)
{
    head(tag, "UL");
    put(std::uint16_t{4});
    put(static_cast<std::uint32_t>(value));
}

Bytes dicomFileOf(const std::string& sopClass, const std::string& sopInstance,
                  std::string_view dataSet)
{
    ElementWriter rest;
    rest.block(0x00020001, "OB", std::string_view("\0\1", 2));
    rest.uid(0x00020002, sopClass);
    rest.uid(0x00020003, sopInstance);
    rest.uid(0x00020010, "1.2.840.10008.1.2.1"); // explicit little endian
    rest.uid(0x00020012, "2.25.271828182845904523536");
    ElementWriter meta;
    meta.length(0x00020000, rest.bytes().size());
    const std::string head = std::string(128, '\0') + "DICM" + meta.bytes() + rest.bytes();
    Bytes bytes(head.size() + dataSet.size());
    std::copy(dataSet.begin(), dataSet.end(), std::copy(head.begin(), head.end(), bytes.data()));
    return bytes;
}

std::string decimalString(double value)
{
    constexpr std::size_t longest = 16;
    std::string text = exactNumber(value);
    for (int digits = 15; text.size() > longest; --digits) {
        text = files::number(value, digits);
    }
    return text;
}

} // namespace files
