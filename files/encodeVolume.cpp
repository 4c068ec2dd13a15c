#include "files/encodeVolume.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "files/packed.h"
#include "files/text.h"

namespace files
{

namespace
{

using Kind = ValueFormat::Kind;

template <class List, class ToText>
std::string joined(const List& items, const char* separator, const ToText& toText)
{
    std::string text;
    for (const auto& item : items) {
        text += (text.empty() ? "" : separator) + toText(item);
    }
    return text;
}

/** One of the names that a format has for the types of numbers, or a refusal. */
struct TypeNames {
    std::array<const char*, 4> ofUnsigned; ///< of 1, 2, 4 and 8 bytes
    std::array<const char*, 4> ofSigned;
    std::array<const char*, 2> ofFloats; ///< of 4 and 8 bytes
};

const char* nameOf(const ValueFormat& format, const TypeNames& names)
{
    const auto power = static_cast<std::size_t>(std::countr_zero(format.bytes));
    if (format.kind == Kind::floatingPoint) {
        return names.ofFloats[power - 2];
    }
    return format.kind == Kind::unsignedInteger ? names.ofUnsigned[power] : names.ofSigned[power];
}

Bytes concatenated(std::string_view head, ByteView tail)
{
    Bytes bytes(head.size() + tail.size());
    std::copy(tail.begin(), tail.end(), std::copy(head.begin(), head.end(), bytes.data()));
    return bytes;
}

Bytes encodeMetaImage(const Geometry& geometry, const ValueFormat& format, ByteView values,
                      const Deflate& deflate)
{
    static constexpr TypeNames names = {{"MET_UCHAR", "MET_USHORT", "MET_UINT", "MET_ULONG_LONG"},
                                        {"MET_CHAR", "MET_SHORT", "MET_INT", "MET_LONG_LONG"},
                                        {"MET_FLOAT", "MET_DOUBLE"}};
    const Bytes packed = packZlib(values, deflate);
    const std::string header =
        "ObjectType = Image\nNDims = 3\nBinaryData = True\n"
        "BinaryDataByteOrderMSB = False\nCompressedData = True\n"
        "CompressedDataSize = " +
        std::to_string(packed.size()) + "\nTransformMatrix = 1 0 0 0 1 0 0 0 1\nOffset = " +
        joined(geometry.origin, " ", exactNumber) +
        "\nCenterOfRotation = 0 0 0\nAnatomicalOrientation = RAI\n"
        "ElementSpacing = " +
        joined(geometry.spacing, " ", exactNumber) + "\nDimSize = " + join(geometry.size, " ") +
        "\nElementType = " + nameOf(format, names) + "\nElementDataFile = LOCAL\n";
    return concatenated(header, packed.view());
}

std::string sampleUnits(std::string_view unit)
{
    std::string field;
    if (!unit.empty()) {
        field.append("\nsample units: ").append(unit);
    }
    return field;
}

Bytes encodeNrrd(const Geometry& geometry, const ValueFormat& format, ByteView values,
                 const Deflate& deflate, std::string_view unit)
{
    static constexpr TypeNames names = {{"uint8", "uint16", "uint32", "uint64"},
                                        {"int8", "int16", "int32", "int64"},
                                        {"float", "double"}};
    const auto& [x, y, z] = geometry.spacing;
    const std::string header =
        std::string("NRRD0004\ntype: ") + nameOf(format, names) +
        "\ndimension: 3\nspace: left-posterior-superior\nsizes: " + join(geometry.size, " ") +
        "\nspace directions: (" + exactNumber(x) + ",0,0) (0," + exactNumber(y) + ",0) (0,0," +
        exactNumber(z) + ")\nkinds: domain domain domain\nendian: little\nencoding: gzip" +
        sampleUnits(unit) + "\nspace origin: (" + joined(geometry.origin, ",", exactNumber) +
        ")\n\n";
    return concatenated(header, packGzip(values, deflate).view());
}

/** Writes numbers into a NIfTI-1 header. */
class NiftiFields
{
public:
    explicit NiftiFields(Bytes& bytes) : bytes_(bytes) {}

    template <class Number> void set(std::size_t position, Number value)
    {
        std::memcpy(bytes_.data() + position, &value, sizeof(value));
    }
    /** Single precision is what NIfTI-1 has. */
    void setFloat(std::size_t position, double value) { set(position, static_cast<float>(value)); }

private:
    Bytes& bytes_;
};

std::int16_t niftiType(const ValueFormat& format)
{
    static constexpr std::array<std::int16_t, 4> ofUnsigned = {2, 512, 768, 1280};
    static constexpr std::array<std::int16_t, 4> ofSigned = {256, 4, 8, 1024};
    const auto power = static_cast<std::size_t>(std::countr_zero(format.bytes));
    if (format.kind == Kind::floatingPoint) {
        return format.bytes == 4 ? 16 : 64;
    }
    return format.kind == Kind::unsignedInteger ? ofUnsigned[power] : ofSigned[power];
}

/** Where the grid lies; NIfTI's x and y run to the right and to the front. */
void setNiftiPlace(NiftiFields& fields, const Geometry& geometry)
{
    constexpr std::array<double, 3> signs = {-1, -1, 1};
    constexpr std::int16_t scanner = 1;
    fields.setFloat(76, 1); // a right-handed system
    fields.set(252, scanner);
    fields.set(254, scanner);
    fields.setFloat(264, 1); // half a turn about z
    for (std::size_t i = 0; i < 3; ++i) {
        fields.set(42 + 2 * i, static_cast<std::int16_t>(geometry.size[i]));
        fields.setFloat(80 + 4 * i, geometry.spacing[i]);
        fields.setFloat(268 + 4 * i, signs[i] * geometry.origin[i] + 0.0);
        fields.setFloat(280 + 20 * i, signs[i] * geometry.spacing[i]);
        fields.setFloat(292 + 16 * i, signs[i] * geometry.origin[i] + 0.0);
    }
}

Bytes encodeNifti(const Geometry& geometry, const ValueFormat& format, ByteView values)
{
    constexpr std::size_t dataPosition = 352;
    constexpr int largestSize = 32767;
    for (const int size : geometry.size) {
        if (size > largestSize) {
            refuseUnsupported("cannot be NIfTI: the grid has " + std::to_string(size) +
                              " voxels along an axis, NIfTI-1 up to 32767");
        }
    }
    Bytes bytes(dataPosition + values.size());
    std::fill_n(bytes.data(), dataPosition, static_cast<unsigned char>(0));
    NiftiFields fields(bytes);
    fields.set(0, std::int32_t{348});
    fields.set(38, 'r');
    fields.set(40, std::int16_t{3});
    for (std::size_t i = 4; i < 8; ++i) {
        fields.set(40 + 2 * i, std::int16_t{1});
        fields.setFloat(76 + 4 * i, 1);
    }
    fields.set(70, niftiType(format));
    fields.set(72, static_cast<std::int16_t>(8 * format.bytes));
    fields.setFloat(108, static_cast<double>(dataPosition));
    fields.setFloat(112, 1);          // slope
    fields.set(123, std::uint8_t{2}); // mm
    setNiftiPlace(fields, geometry);
    std::memcpy(bytes.data() + 344, "n+1", 4);
    std::copy(values.begin(), values.end(), bytes.data() + dataPosition);
    return bytes;
}

Bytes encode(VolumeFormat volumeFormat, const Geometry& geometry, const ValueFormat& format,
             ByteView values, const Deflate& deflate, std::string_view unit)
{
    switch (volumeFormat) {
    case VolumeFormat::metaImage:
        return encodeMetaImage(geometry, format, values, deflate);
    case VolumeFormat::nrrd:
        return encodeNrrd(geometry, format, values, deflate, unit);
    case VolumeFormat::nifti:
        return encodeNifti(geometry, format, values);
    case VolumeFormat::packedNifti:
        break;
    }
    return packGzip(encodeNifti(geometry, format, values).view(), deflate);
}

} // namespace

std::optional<VolumeFormat> volumeFormatOf(std::string_view name)
{
    const std::string lower = lowerCase(name);
    if (lower.ends_with(".mha")) {
        return VolumeFormat::metaImage;
    }
    if (lower.ends_with(".nrrd")) {
        return VolumeFormat::nrrd;
    }
    if (lower.ends_with(".nii")) {
        return VolumeFormat::nifti;
    }
    if (lower.ends_with(".nii.gz")) {
        return VolumeFormat::packedNifti;
    }
    return {};
}

Result<Bytes> encodeVolume(VolumeFormat volumeFormat, const Geometry& geometry,
                           const ValueFormat& format, ByteView values, const Deflate& deflate)
{
    return resultOf([&] { return encode(volumeFormat, geometry, format, values, deflate, {}); });
}

Result<Bytes> encodeImage(VolumeFormat volumeFormat, const Image& image, const Deflate& deflate,
                          std::string_view unit)
{
    const auto* const bytes = reinterpret_cast<const unsigned char*>(image.values.data());
    const ByteView values(bytes, image.values.size() * sizeof(float));
    return resultOf(
        [&] { return encode(volumeFormat, image.geometry, {}, values, deflate, unit); });
}

} // namespace files
