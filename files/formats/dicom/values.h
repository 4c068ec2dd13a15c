/**
 * @file values.h
 * Texts and numbers in the elements of DICOM.
 */
#ifndef ZARNGI_FILES_FORMATS_DICOM_VALUES_H
#define ZARNGI_FILES_FORMATS_DICOM_VALUES_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "files/formats/dicom/elements.h"

namespace files
{

/** The finite numbers of a decimal or integer string, decoded where they lie, one after another. */
class DicomNumbers
{
public:
    DicomNumbers(ByteView value, const DicomTag& tag);

    /** How many there are in all; an empty one at the end does not count. */
    std::size_t count() const { return count_; }

    /** The next one of those that are there. @throws Refusal when it is no finite number. */
    double next();

private:
    std::string_view rest_;
    DicomTag tag_;
    std::size_t count_ = 0;
};

/** A data set and how its numbers are written. */
struct DicomValues {
    const DicomDataSet& data;
    bool isBigEndian = false;

    /** Whether the element is there and not empty. All functions throw a Refusal if it is twice. */
    bool has(const DicomTag& tag) const;

    /**
     * On one line, in the bytes of the file, which are enough for what only DICOM defines; empty
     * where there is none. DicomTexts reads what people have written.
     */
    std::string text(const DicomTag& tag) const;

    /**
     * The finite numbers of a decimal or integer string; an empty one at the end does not count.
     * @throws Refusal when they are not `count`, or one is no number.
     */
    std::vector<double> numbers(const DicomTag& tag, std::size_t count) const;

    double number(const DicomTag& tag) const { return numbers(tag, 1)[0]; }

    /** A number without a fraction that a 32-bit integer holds. @throws Refusal */
    std::int32_t wholeNumber(const DicomTag& tag) const;

    /** The numbers of an element; none where it is missing or empty. */
    DicomNumbers list(const DicomTag& tag) const { return {bytes(tag), tag}; }

    /** A 16-bit unsigned integer. @throws Refusal where there is none */
    unsigned integer(const DicomTag& tag) const;

    /** As they are stored; none where the element is missing. */
    ByteView bytes(const DicomTag& tag) const;
};

/** Calls `use` with the elements of each item of a sequence, which may be missing. */
template <class Use>
void forEachDicomItem(const DicomValues& values, const DicomTag& sequence, const Use& use)
{
    const DicomElement* const element = values.data.find(sequence);
    if (element == nullptr) {
        return;
    }
    const DicomSyntax syntax = element->itemSyntax;
    for (const ByteView content : dicomItems(*element)) {
        const DicomDataSet item = readDicomElements(content, syntax);
        use(DicomValues{item, syntax.isBigEndian});
    }
}

/** The elements that describe the stored values. */
namespace dicomTags
{
inline constexpr DicomTag samplesPerPixel{0x00280002, "Samples per Pixel"};
inline constexpr DicomTag numberOfFrames{0x00280008, "Number of Frames"};
inline constexpr DicomTag rows{0x00280010, "Rows"};
inline constexpr DicomTag columns{0x00280011, "Columns"};
inline constexpr DicomTag bitsAllocated{0x00280100, "Bits Allocated"};
inline constexpr DicomTag bitsStored{0x00280101, "Bits Stored"};
inline constexpr DicomTag highBit{0x00280102, "High Bit"};
inline constexpr DicomTag pixelRepresentation{0x00280103, "Pixel Representation"};
inline constexpr DicomTag pixelData{0x7FE00010, "Pixel Data"};
} // namespace dicomTags

/** Number of Frames, 1 where it is not told. @throws Refusal when it is none */
std::size_t dicomFrameCount(const DicomValues& values);

} // namespace files

#endif
