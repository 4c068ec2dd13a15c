#include "comparison/composition/doseChecks.h"

#include "comparison/failure.h"

namespace zarngi
{

void checkUnits(const DoseImage& reference, const DoseImage& evaluation, bool isNormalised)
{
    for (const DoseImage* dose : {&reference, &evaluation}) {
        if (dose->isRelative && !isNormalised) {
            throw failureOf(dose->path,
                            Sentence("holds relative doses, not Gy; they are compared as they are "
                                     "when ") +
                                Member::normalisation + " gives the dose of 100 %");
        }
    }
    if (reference.isRelative != evaluation.isRelative) {
        throw InputError("one file holds relative doses and the other one Gy: " +
                         Sentence(FileName{reference.path}) + ", " + FileName{evaluation.path});
    }
}

void addWarnings(std::vector<Sentence>& warnings, const DoseImage& reference,
                 const DoseImage& evaluation)
{
    for (const DoseImage* dose : {&reference, &evaluation}) {
        for (const std::string& warning : dose->warnings) {
            warnings.push_back(Sentence(FileName{dose->path}) + ": " + warning);
        }
    }
    if (!reference.dicom || !evaluation.dicom || reference.format != evaluation.format) {
        return;
    }
    if (reference.dicom->frameOfReference != evaluation.dicom->frameOfReference) {
        warnings.emplace_back(
            "the files have different Frame of Reference UIDs: their positions may not match");
    }
    if (reference.dicom->doseType != evaluation.dicom->doseType) {
        warnings.emplace_back("the files hold different types of dose: " +
                              reference.dicom->doseType + " and " + evaluation.dicom->doseType);
    }
}

} // namespace zarngi
