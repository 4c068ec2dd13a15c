/**
 * @file elementWriter.h
 * DICOM elements as bytes.
 */
#ifndef ZARNGI_FILES_FORMATS_DICOM_ELEMENTWRITER_H
#define ZARNGI_FILES_FORMATS_DICOM_ELEMENTWRITER_H

#include <cstdint>
#include <string>
#include <string_view>

#include "files/bytes.h"

namespace files
{

/** Elements one after the other, in explicit little endian; tags ascend. */
class ElementWriter
{
public:
    /** A text element. @param padding makes its length even. @throws Refusal: longer than 65534 */
    void text(std::uint32_t tag, const char* type, std::string value, char padding = ' ');
    void uid(std::uint32_t tag, const std::string& value) { text(tag, "UI", value, '\0'); }
    void number(std::uint32_t tag, std::uint16_t value);
    /** Names another element. */
    void pointer(std::uint32_t tag, std::uint32_t other);

    /** An element of one of the types with a long length; items of a sequence stand in it. */
    void block(std::uint32_t tag, const char* type, std::string_view value);
    void item(std::string_view value);
    void length(std::uint32_t tag, std::size_t value);

    const std::string& bytes() const { return bytes_; }

private:
    template <class Number> void put(Number value);
    void head(std::uint32_t tag, const char* type);

    std::string bytes_;
};

/** A whole file. @param dataSet in explicit little endian */
Bytes dicomFileOf(const std::string& sopClass, const std::string& sopInstance,
                  std::string_view dataSet);

/** A number as a decimal string of DICOM holds it: as precise as its 16 characters allow. */
std::string decimalString(double value);

} // namespace files

#endif
