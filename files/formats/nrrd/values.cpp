#include "files/formats/nrrd/values.h"

#include <cstdint>
#include <map>
#include <string>

#include "files/error.h"
#include "files/formats/volumeFormats.h"
#include "files/packed.h"
#include "files/text.h"

namespace files::nrrd
{

namespace
{

bool isBigEndian(const Header& header, unsigned bytes, bool isText)
{
    const std::string* const entry = header.find("endian");
    if (entry == nullptr) {
        if (bytes > 1 && !isText) {
            refuseDamaged("its header has no \"endian\", the byte order of its values");
        }
        return false;
    }
    const std::string name = lowerCase(*entry);
    if (name != "little" && name != "big") {
        refuseEntry("a byte order (endian)", *entry);
    }
    return name == "big";
}

ValueFormat formatOf(const Header& header)
{
    using Kind = ValueFormat::Kind;
    static const std::map<std::string, ValueFormat, std::less<>> types = [] {
        std::map<std::string, ValueFormat, std::less<>> names;
        const auto add = [&names](Kind kind, unsigned bytes,
                                  std::initializer_list<const char*> synonyms) {
            for (const char* name : synonyms) {
                names[name] = {kind, bytes};
            }
        };
        add(Kind::signedInteger, 1, {"signed char", "int8", "int8_t"});
        add(Kind::unsignedInteger, 1, {"uchar", "unsigned char", "uint8", "uint8_t"});
        add(Kind::signedInteger, 2,
            {"short", "short int", "signed short", "signed short int", "int16", "int16_t"});
        add(Kind::unsignedInteger, 2,
            {"ushort", "unsigned short", "unsigned short int", "uint16", "uint16_t"});
        add(Kind::signedInteger, 4, {"int", "signed int", "int32", "int32_t"});
        add(Kind::unsignedInteger, 4, {"uint", "unsigned int", "uint32", "uint32_t"});
        add(Kind::signedInteger, 8,
            {"longlong", "long long", "long long int", "signed long long", "signed long long int",
             "int64", "int64_t"});
        add(Kind::unsignedInteger, 8,
            {"ulonglong", "unsigned long long", "unsigned long long int", "uint64", "uint64_t"});
        add(Kind::floatingPoint, 4, {"float"});
        add(Kind::floatingPoint, 8, {"double"});
        return names;
    }();
    const std::string& name = header.need("type");
    const auto type = types.find(lowerCase(name));
    if (type == types.end()) {
        refuseUnsupported("has values of the unknown type \"" + excerpt(name) + "\"");
    }
    return type->second;
}

std::int64_t skipOf(const Header& header, std::initializer_list<std::string_view> keys,
                    const char* what, std::int64_t least)
{
    const std::string* const entry = header.findAny(keys);
    const std::int64_t skip = entry == nullptr ? 0 : wholeNumbersOf(*entry, what, 1)[0];
    if (skip < least) {
        refuseEntry(what, *entry);
    }
    return skip;
}

ByteView behindLines(ByteView bytes, std::int64_t count)
{
    Lines lines(bytes);
    for (std::int64_t i = 0; i < count; ++i) {
        if (!lines.next()) {
            refuseDamaged(
                "is cut short, or its header lies: it has fewer lines than are to be skipped");
        }
    }
    return part(bytes, lines.position());
}

/** The values behind so many skipped bytes, which in packed data are bytes of what is packed. */
Values unpackedValues(ByteView data, std::int64_t skip, const ValueFormat& format,
                      const Scaling& scaling, std::size_t count, const Deflate& deflate)
{
    if (skip < 0) {
        refuseUnsupported(
            "its compressed data begins at an odd place (byte skip: -1), which is not "
            "supported");
    }
    if (skip == 0) {
        return packedValues(data, deflate, format, scaling, count);
    }
    const std::uint64_t whole = static_cast<std::uint64_t>(skip) + bytesOf(format, count);
    if (mostUnpacked(data.size()) < whole) {
        refuseDamaged("is cut short, or its header lies: its grid needs " + grouped(whole) +
                      " bytes, skipped ones included");
    }
    Bytes bytes(whole);
    unpackInto(bytes.buffer(), data, deflate);
    const ByteView values = part(bytes.view(), static_cast<std::uint64_t>(skip));
    return plainValues(Contents(Contents(bytes), values), format, scaling, count);
}

} // namespace

Scaling scalingOf(const Header& header, DoseImage& dose)
{
    if (header.findAny({"old min", "oldmin"}) != nullptr ||
        header.findAny({"old max", "oldmax"}) != nullptr) {
        dose.warnings.emplace_back(
            "was quantised (old min, old max); its values are taken as they are stored");
    }
    const std::string* const entry = header.findAny({"sample units", "sampleunits"});
    const std::vector<std::string> units =
        entry == nullptr ? std::vector<std::string>{} : itemsOf(*entry, '"', '"');
    const std::string unit = units.empty() ? "" : lowerCase(units[0]);
    if (unit == "cgy") {
        return {0.01, 0};
    }
    if (unit == "mgy") {
        return {0.001, 0};
    }
    if (unit.empty() || unit == "???") {
        assumeGray(dose);
    } else if (unit != "gy" && unit != "gray") {
        dose.tellsUnit = false;
        dose.doubts.push_back("its sample units are \"" + excerpt(units[0]) + "\", taken for Gy");
    }
    return {};
}

Values valuesOf(const Header& header, const Contents& data, const Scaling& scaling,
                std::size_t count, const Deflate& deflate)
{
    const std::string encoding = lowerCase(header.need("encoding"));
    const bool isText = encoding == "ascii" || encoding == "text" || encoding == "txt";
    const bool isPacked = encoding == "gzip" || encoding == "gz";
    if (!isText && !isPacked && encoding != "raw") {
        refuseUnsupported("its encoding \"" + excerpt(encoding) +
                          "\" is not supported (accepted: raw, gzip, ascii)");
    }
    ValueFormat format = formatOf(header);
    format.isBigEndian = isBigEndian(header, format.bytes, isText);
    ByteView bytes =
        behindLines(data.bytes, skipOf(header, {"line skip", "lineskip"}, "a line skip", 0));
    const std::int64_t skip = skipOf(header, {"byte skip", "byteskip"}, "a byte skip", -1);
    if (isPacked) {
        return unpackedValues(bytes, skip, format, scaling, count, deflate);
    }
    const std::uint64_t needed = bytesOf(format, count);
    if (skip < 0 && bytes.size() > needed && !isText) {
        bytes = bytes.last(static_cast<std::size_t>(needed));
    }
    bytes = part(bytes, skip < 0 ? 0 : static_cast<std::uint64_t>(skip));
    return isText ? writtenValues(asText(bytes), format, scaling, count)
                  : plainValues(Contents(data, bytes), format, scaling, count);
}

} // namespace files::nrrd
