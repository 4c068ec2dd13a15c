/**
 * @file frames.h
 * The packed frames of DICOM images, each in one piece or several.
 */
#ifndef ZARNGI_FILES_FORMATS_DICOM_FRAMES_H
#define ZARNGI_FILES_FORMATS_DICOM_FRAMES_H

#include <cstdint>
#include <vector>

#include "files/formats/dicom/elements.h"

namespace files
{

class DicomFrames
{
public:
    /**
     * @param pixels packed pixel data.
     * @param count of frames, at least 1.
     * @throws Refusal when its pieces are fewer, or it cannot be told which belong to which frame.
     */
    DicomFrames(const DicomElement& pixels, std::size_t count);

    /**
     * The next of the `count` frames, as it lies in the file if that is in one piece, else put
     * together in `buffer`.
     * @throws Refusal when the table of positions is wrong.
     */
    ByteView next(Bytes& buffer);

private:
    std::uint64_t told(std::size_t frame) const;
    std::size_t endOfNext() const;

    std::vector<ByteView> pieces_;
    ByteView table_; // of where the frames begin; may be empty
    std::size_t count_;
    std::size_t frame_ = 0;
    std::size_t piece_ = 0;
};

} // namespace files

#endif
