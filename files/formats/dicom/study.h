/**
 * @file study.h
 * Whose a DICOM file is, for files that are to belong to the same patient and study.
 */
#ifndef ZARNGI_FILES_FORMATS_DICOM_STUDY_H
#define ZARNGI_FILES_FORMATS_DICOM_STUDY_H

#include <string>

#include "files/bytes.h"
#include "files/error.h"
#include "files/host.h"

namespace files
{

/** Texts are empty where a file does not tell them. */
struct DicomStudy {
    std::string patientName;
    std::string patientId;
    std::string patientBirthDate;
    std::string patientSex;
    std::string instance; ///< UID
    std::string date;
    std::string time;
    std::string id;
    std::string accessionNumber;
    std::string referringPhysician;
    std::string frameOfReference; ///< UID
    std::string positionReference;
    std::string plan; ///< UID of the RT Plan, which the file refers to, or is
    std::string planClass;

    bool namesPatient() const
    {
        return !patientName.empty() || !patientId.empty() || !patientBirthDate.empty();
    }
};

/** From the contents of any DICOM file. */
Result<DicomStudy> readStudy(ByteView file, const Host& host);

/** Of any DICOM file. */
Result<DicomStudy> readStudyFile(const std::string& path, const Host& host);

} // namespace files

#endif
