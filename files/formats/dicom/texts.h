/**
 * @file texts.h
 * The texts of a DICOM file that people read, in UTF-8.
 */
#ifndef ZARNGI_FILES_FORMATS_DICOM_TEXTS_H
#define ZARNGI_FILES_FORMATS_DICOM_TEXTS_H

#include <string>
#include <vector>

#include "files/formats/dicom/characterSets.h"
#include "files/formats/dicom/values.h"

namespace files
{

/** Reads the texts of a file, and keeps what had to be assumed for them. */
class DicomTexts
{
public:
    /** @param file the elements of the file itself, which must outlive this. */
    explicit DicomTexts(const DicomValues& file);

    /**
     * On one line; empty where there is none.
     * @param values of the file or of an item, which may declare sets of its own.
     */
    std::string text(const DicomValues& values, const DicomTag& tag,
                     DicomTextKind kind = DicomTextKind::text);

    /** Each a line that continues "FILE: ". */
    const std::vector<std::string>& warnings() const { return warnings_; }

private:
    void note(const DicomText& text, const DicomCharacterSets& sets, const std::string& declared);
    void warn(const std::string& sentence);

    std::string declared_; ///< as the file writes it
    std::vector<std::string> warnings_;
};

} // namespace files

#endif
