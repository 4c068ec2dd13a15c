/**
 * @file plan.h
 * What a treatment plan says about itself, for the header of documents.
 */
#ifndef ZARNGI_FILES_PLANS_PLAN_H
#define ZARNGI_FILES_PLANS_PLAN_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "files/doseImage.h"

namespace files
{

/** A beam; a text is empty where the file does not say it. */
struct PlanBeam {
    std::int32_t number = 0;
    std::string name;
    std::string machine;
    bool isTreatment = true;      ///< else it only takes pictures of the set-up
    std::vector<Vec3> isocentres; ///< mm, each once
};

/** What a target, or another place, is to get. */
struct PlanPrescription {
    double dose = 0; ///< Gy, of all fractions
    std::string target;
};

/** A treatment plan; a text is empty where the file does not say it. */
struct Plan {
    std::string path;     ///< empty where it was read from memory
    std::string dataPath; ///< equal to path: a plan is one file
    std::string format;   ///< "DICOM RT Plan" or "DICOM RT Ion Plan"
    std::string sopInstance;
    std::string frameOfReference;
    std::string patientName; ///< as DICOM writes it: "Family^Given"
    std::string patientId;
    std::string label;
    std::string name;
    std::string description;
    std::string seriesDescription;
    std::string date; ///< as DICOM writes it: "20261126"
    std::string approval;
    std::string reviewDate;
    std::string reviewer;
    std::vector<PlanPrescription> prescriptions; ///< of targets
    std::vector<std::int32_t> fractions;         ///< of each group that tells them
    std::vector<PlanBeam> beams;
    /** SOP Instance UIDs of the plans that it verifies, or was derived from. */
    std::vector<std::string> origins;
    /** What was taken for granted, each a line that continues "FILE: ". */
    std::vector<std::string> warnings;
};

} // namespace files

#endif
