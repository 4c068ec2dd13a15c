/**
 * @file conversion.h
 * A dose as a file of another format.
 */
#ifndef ZARNGI_COMPARISON_CONVERSION_CONVERSION_H
#define ZARNGI_COMPARISON_CONVERSION_CONVERSION_H

#include <string>
#include <utility>
#include <vector>

#include "comparison/doseImage.h"
#include "comparison/measurements/doseSum.h"
#include "comparison/sentence.h"
#include "files/bytes.h"
#include "files/deflate.h"
#include "files/formats/dicom/encodeDose.h"

namespace zarngi
{

/** How a host calls what its user asks of a conversion. */
struct ConversionWords {
    std::string like = "like";
    std::string scale = "scale";
};

struct ConversionRequest {
    std::string output; ///< a file name, whose ending tells the format
    std::string like;   ///< a DICOM file of the patient and study to which an RT Dose belongs
    std::string scale;  ///< a number or a fraction; empty: 1
    bool allowErrorDoses = false;
    ConversionWords words{};
};

/** Is given what the host reads, and makes a file of it. */
class Conversion
{
public:
    /** @throws UsageError for a name or a scale that cannot be, at "output", "like" or "scale" */
    explicit Conversion(ConversionRequest request);

    /** @throws InputError where it is no volume of doses */
    void setDose(DoseImage dose);
    /** Whose an RT Dose is: that of the file `like`. */
    void setStudy(files::DicomStudy study) { study_ = std::move(study); }

    const DoseImage& dose() const { return dose_; }
    /** What was told of the dose when it was read. */
    std::vector<Sentence> warnings() const;
    /** Whether the file will name a patient. */
    bool namesPatient() const { return study_.namesPatient(); }

    /** The bytes of the file. @throws InputError where its format cannot hold the doses */
    files::Bytes file(const files::Deflate& deflate) &&;

private:
    /** Of what is written: gray where a factor makes gray of what a simulation counts in. */
    DoseUnit unit() const;
    /** Empty where the file told none, and for differences, which are no doses. */
    const char* toldUnit() const;
    files::RtDoseFacts facts() const;

    ConversionRequest request_;
    DoseFactor factor_;
    DoseImage dose_;
    files::DicomStudy study_;
};

} // namespace zarngi

#endif
