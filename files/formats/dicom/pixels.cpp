#include "files/formats/dicom/pixels.h"

#include <algorithm>
#include <array>
#include <limits>
#include <new>
#include <utility>

#include "files/error.h"
#include "files/formats/dicom/frames.h"
#include "files/formats/dicom/rle.h"
#include "files/runLengths.h"
#include "files/storedValues.h"
#include "files/text.h"

namespace files
{

namespace
{

enum class Packing { none, runLengths, other };

Packing packingOf(const std::string& transferSyntax)
{
    constexpr std::array<std::string_view, 5> plain = {
        "", "1.2.840.10008.1.2", "1.2.840.10008.1.2.1", "1.2.840.10008.1.2.1.99",
        "1.2.840.10008.1.2.2"};
    if (std::find(plain.begin(), plain.end(), transferSyntax) != plain.end()) {
        return Packing::none;
    }
    return transferSyntax == "1.2.840.10008.1.2.5" ? Packing::runLengths : Packing::other;
}

/** A family of codes, by the last numbers of their transfer syntaxes. */
struct Family {
    int first;
    int last;
    const char* name;
    const char* tools; ///< that store its images without compression
};

const Family* familyOf(const std::string& transferSyntax)
{
    static constexpr std::array<Family, 7> families = {{
        {50, 66, "JPEG", " (gdcmconv --raw, or dcmdjpeg)"},
        {70, 70, "JPEG", " (gdcmconv --raw, or dcmdjpeg)"},
        {80, 81, "JPEG-LS", " (gdcmconv --raw, or dcmdjpls)"},
        {90, 93, "JPEG 2000", " (gdcmconv --raw)"},
        {100, 108, "MPEG", ""},
        {110, 112, "JPEG XL", ""},
        {201, 203, "High-Throughput JPEG 2000", ""},
    }};
    constexpr std::string_view prefix = "1.2.840.10008.1.2.4.";
    if (!transferSyntax.starts_with(prefix)) {
        return nullptr;
    }
    const double last = parseNumber(std::string_view(transferSyntax).substr(prefix.size()));
    const auto* const found =
        std::find_if(families.begin(), families.end(), [last](const Family& family) {
            return last >= family.first && last <= family.last;
        });
    return found == families.end() ? nullptr : found;
}

[[noreturn]] void refusePacking(const std::string& transferSyntax)
{
    const Family* const family = familyOf(transferSyntax);
    if (family == nullptr) {
        refuseUnsupported("holds a dose packed in the transfer syntax \"" +
                          excerpt(transferSyntax) +
                          "\", which is not supported; store it without compression first");
    }
    refuseUnsupported(
        "holds a dose packed as " + std::string(family->name) +
        ", which only the command-line program unpacks; store it without compression first" +
        family->tools);
}

/** The doses of a file, as bytes. */
class StoredPixels
{
public:
    StoredPixels(const DicomFile& file, const DicomElement& pixels, const DicomPixelFormat& format,
                 std::size_t voxels, std::size_t frames)
        : file_(file), pixels_(pixels), format_(format), frames_(frames),
          needed_(std::uint64_t{voxels} * (format.bits / 8))
    {
    }

    /** The bytes of all values; they lie in the file, or unpacked in `buffer`. */
    ByteView find(Bytes& buffer, const Host& host) const
    {
        const std::string& syntax = file_.start.transferSyntax;
        const Packing packing = packingOf(syntax);
        checkType();
        checkOpen(packing);
        if (packing == Packing::none) {
            checkByteOrder();
            checkLength();
            return pixels_.value.first(roomFor());
        }
        if (packing == Packing::other && (!host.unpackPixels || familyOf(syntax) == nullptr)) {
            refusePacking(syntax);
        }
        buffer = packing == Packing::other ? unpackedBy(host) : unpackedRunLengths();
        return buffer.view();
    }

private:
    void checkType() const
    {
        const std::string_view type = pixels_.type;
        if (!type.empty() && type != "OW" && type != "OB" && type != "UN") {
            refuseDamaged("has a dose grid of type \"" + excerpt(type) + "\"");
        }
    }

    void checkOpen(Packing packing) const
    {
        const std::string& syntax = file_.start.transferSyntax;
        if (packing == Packing::none && pixels_.isOpen) {
            refuseDamaged(syntax.empty()
                              ? "holds a packed dose, and no transfer syntax that tells how"
                              : "is damaged: its dose is in pieces, its transfer syntax has "
                                "none");
        }
        if (packing != Packing::none && !pixels_.isOpen) {
            if (packing == Packing::runLengths || familyOf(syntax) != nullptr) {
                refuseDamaged("is damaged: its packed dose is not in pieces");
            }
            refuseUnsupported("is written in the transfer syntax \"" + excerpt(syntax) +
                              "\", which is not supported");
        }
    }

    /** Words are swapped in big endian, single bytes are not; readers differ for all else. */
    void checkByteOrder() const
    {
        const bool isCertain = (format_.bits == 8 && pixels_.type == "OB") ||
                               (format_.bits == 16 && pixels_.type == "OW");
        if (file_.start.syntax.isBigEndian && !isCertain) {
            refuseUnsupported(
                "has values of " + std::to_string(format_.bits) + " bits as " +
                std::string(pixels_.type) +
                " in big endian, whose order is ambiguous; store them in little endian first");
        }
    }

    void checkLength() const
    {
        const std::size_t length = pixels_.value.size();
        if (length < needed_) {
            refuseDamaged("is cut short: " + grouped(length) + " bytes of dose, not " +
                          grouped(needed_));
        }
        if (length > needed_ + needed_ % 2) { // one byte may make the length even
            refuseDamaged("holds more than its grid: " + grouped(length) + " bytes of dose, not " +
                          grouped(needed_));
        }
    }

    std::size_t roomFor() const
    {
        if (needed_ > std::numeric_limits<std::size_t>::max() / 2) {
            throw std::bad_alloc();
        }
        return static_cast<std::size_t>(needed_);
    }

    Bytes unpackedBy(const Host& host) const
    {
        Result<Bytes> unpacked = host.unpackPixels(file_.whole, roomFor());
        if (!unpacked) {
            throw Refusal(unpacked.error());
        }
        if (unpacked->size() != needed_) {
            refuseDamaged("has a dose grid that unpacks to " + grouped(unpacked->size()) +
                          " bytes, not " + grouped(needed_));
        }
        return std::move(*unpacked);
    }

    Bytes unpackedRunLengths() const
    {
        DicomFrames packed(pixels_, frames_);
        if (mostUnpackedRuns(pixels_.value.size()) < needed_) {
            refuseDamaged("is cut short: " + grouped(pixels_.value.size()) +
                          " bytes of packed dose cannot hold " + grouped(needed_));
        }
        Bytes values(roomFor());
        const std::size_t frameBytes = values.size() / frames_;
        for (std::size_t frame = 0; frame < frames_; ++frame) {
            Bytes buffer;
            unpackRleFrame(packed.next(buffer), format_.bits / 8,
                           values.buffer().subspan(frame * frameBytes, frameBytes));
        }
        return values;
    }

    const DicomFile& file_;
    const DicomElement& pixels_;
    const DicomPixelFormat& format_;
    std::size_t frames_;
    std::uint64_t needed_; // bytes
};

ValueFormat valueFormatOf(const DicomPixelFormat& format, bool isBigEndian)
{
    return {format.isSigned ? ValueFormat::Kind::signedInteger : ValueFormat::Kind::unsignedInteger,
            format.bits / 8, isBigEndian};
}

template <class Number> bool allWithin(ByteView bytes, unsigned bits, bool isBigEndian)
{
    constexpr bool isSigned = std::numeric_limits<Number>::is_signed;
    const std::int64_t range = std::int64_t{1} << (isSigned ? bits - 1 : bits);
    const auto lowest = static_cast<Number>(isSigned ? -range : 0);
    const auto highest = static_cast<Number>(range - 1);
    bool isWithin = true;
    for (std::size_t i = 0; i < bytes.size(); i += sizeof(Number)) {
        const auto value = numberAt<Number>(bytes.data(), i, isBigEndian);
        isWithin = isWithin && value >= lowest && value <= highest;
    }
    return isWithin;
}

/** Bits above those that are stored may carry something else, such as overlays. */
void checkStoredBits(ByteView bytes, const DicomPixelFormat& format, bool isBigEndian)
{
    const auto areWithin = [&](auto unsignedType, auto signedType) {
        return format.isSigned
                   ? allWithin<decltype(signedType)>(bytes, format.bitsStored, isBigEndian)
                   : allWithin<decltype(unsignedType)>(bytes, format.bitsStored, isBigEndian);
    };
    const bool isGood = format.bitsStored == format.bits ||
                        (format.bits == 8    ? areWithin(std::uint8_t{}, std::int8_t{})
                         : format.bits == 16 ? areWithin(std::uint16_t{}, std::int16_t{})
                                             : areWithin(std::uint32_t{}, std::int32_t{}));
    if (!isGood) {
        refuseDamaged("has values that need more than the " + std::to_string(format.bitsStored) +
                      " bits it tells");
    }
}

/** The bits that are stored, which are the low ones. */
unsigned bitsStoredOf(const DicomValues& values, unsigned bits)
{
    const unsigned stored =
        values.has(dicomTags::bitsStored) ? values.integer(dicomTags::bitsStored) : bits;
    if (stored < 1 || stored > bits) {
        refuseDamaged("has " + std::to_string(stored) + " Bits Stored in " + std::to_string(bits));
    }
    const unsigned highest =
        values.has(dicomTags::highBit) ? values.integer(dicomTags::highBit) : stored - 1;
    if (highest != stored - 1) {
        refuseDamaged("has a High Bit of " + std::to_string(highest) + " with " +
                      std::to_string(stored) + " Bits Stored");
    }
    return stored;
}

} // namespace

DicomPixelFormat dicomPixelFormat(const DicomValues& values)
{
    if (values.integer(dicomTags::samplesPerPixel) != 1) {
        refuseUnsupported("has more than one sample per pixel");
    }
    const unsigned bits = values.integer(dicomTags::bitsAllocated);
    const unsigned representation = values.integer(dicomTags::pixelRepresentation);
    if (bits != 8 && bits != 16 && bits != 32) {
        refuseUnsupported("has values of " + std::to_string(bits) + " bits");
    }
    if (representation > 1) {
        refuseDamaged("has a Pixel Representation of " + std::to_string(representation));
    }
    return {bits, bitsStoredOf(values, bits), representation == 1};
}

Values dicomPixels(const DicomFile& file, const DicomPixelFormat& format, std::size_t voxels,
                   std::size_t frames, double factor, const Host& host)
{
    const DicomElement* const pixels = file.data.find(dicomTags::pixelData);
    if (pixels == nullptr) {
        refuseDamaged("has no " + std::string(dicomTags::pixelData.name));
    }
    Bytes buffer;
    const ByteView bytes = StoredPixels(file, *pixels, format, voxels, frames).find(buffer, host);
    const bool isUnpacked = buffer.size() > 0;
    const bool isBigEndian = file.start.syntax.isBigEndian && format.bits > 8;
    checkStoredBits(bytes, format, isBigEndian);
    const Contents contents = isUnpacked              ? Contents(buffer)
                              : file.block != nullptr ? Contents(Contents(*file.block), bytes)
                                                      : Contents(bytes);
    return plainValues(contents, valueFormatOf(format, isBigEndian), {factor, 0}, voxels);
}

} // namespace files
