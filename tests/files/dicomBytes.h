/** DICOM files put together element by element. */
#ifndef ZARNGI_TESTS_FILES_DICOMBYTES_H
#define ZARNGI_TESTS_FILES_DICOMBYTES_H

#include <string>

#include "files/formats/dicom/elements.h"
#include "files/nativeDeflate.h"
#include "files/packed.h"

namespace dicomBytes
{

using files::ByteView;
using files::DicomSyntax;
using files::nativeDeflate;
using std::string;

inline const string zero(1, '\0');

template <class Number> string written(Number value, bool isBigEndian = false)
{
    string bytes(reinterpret_cast<const char*>(&value), sizeof(value));
    return isBigEndian ? string(bytes.rbegin(), bytes.rend()) : bytes;
}

inline string number16(unsigned value, bool isBigEndian = false)
{
    return written(static_cast<std::uint16_t>(value), isBigEndian);
}

inline string number32(std::size_t value, bool isBigEndian = false)
{
    return written(static_cast<std::uint32_t>(value), isBigEndian);
}

inline ByteView view(const string& bytes)
{
    return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
}

inline constexpr std::size_t open = 0xFFFFFFFF;

inline string head(std::uint32_t tag, const string& type, std::size_t length,
                   DicomSyntax syntax = {})
{
    const bool big = syntax.isBigEndian;
    const string number = number16(tag >> 16, big) + number16(tag & 0xFFFF, big);
    if (!syntax.isExplicit || tag >> 16 == 0xFFFE) {
        return number + number32(length, big);
    }
    const bool isLong = string("OB OW OF SQ UN UT").find(type) != string::npos;
    return number + type +
           (isLong ? number16(0) + number32(length, big)
                   : number16(static_cast<unsigned>(length), big));
}

inline string element(std::uint32_t tag, const string& type, string value, DicomSyntax syntax = {})
{
    value += value.size() % 2 == 0 ? "" : type == "UI" ? zero : " ";
    return head(tag, type, value.size(), syntax) + value;
}

inline string item(const string& value, DicomSyntax syntax = {})
{
    return head(0xFFFEE000, "", value.size(), syntax) + value;
}

inline const string itemEnd = head(0xFFFEE00D, "", 0);
inline const string sequenceEnd = head(0xFFFEE0DD, "", 0);

inline string preamble()
{
    string bytes(128, '\0');
    bytes.append("DICM");
    return bytes;
}

inline string meta(const string& transferSyntax)
{
    return element(0x00020010, "UI", transferSyntax);
}

inline const string implicitLittle = "1.2.840.10008.1.2";
inline const string explicitLittle = "1.2.840.10008.1.2.1";
inline const string deflated = "1.2.840.10008.1.2.1.99";
inline const string explicitBig = "1.2.840.10008.1.2.2";
inline const string runLengths = "1.2.840.10008.1.2.5";

inline string gzipped(const string& bytes)
{
    return string(files::asText(files::packGzip(view(bytes), nativeDeflate()).view()));
}

inline string deflatedFile(const string& dataSet)
{
    const files::Bytes packed = nativeDeflate().pack(view(dataSet));
    return preamble() + meta(deflated) + string(files::asText(packed.view()));
}

} // namespace dicomBytes

#endif
