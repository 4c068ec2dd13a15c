#include "comparison/composition/doseChecks.h"

#include "comparison/failure.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

/** Of all files: the two, and what is added to them. */
std::vector<const DoseImage*> allOf(const GivenDoses& doses)
{
    std::vector<const DoseImage*> all{&doses.reference, &doses.evaluation};
    for (const auto* const added : {&doses.referenceAdded, &doses.evaluationAdded}) {
        for (const DoseImage& dose : *added) {
            all.push_back(&dose);
        }
    }
    return all;
}

void checkAreDoses(const GivenDoses& doses)
{
    for (const DoseImage* const dose : allOf(doses)) {
        if (dose->isError()) {
            throw failureOf(dose->path,
                            Sentence("holds differences between doses, no doses (Dose Type "
                                     "ERROR); ") +
                                Member::allowErrorDoses + " compares them as doses");
        }
    }
}

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

} // namespace

void checkDoses(const GivenDoses& doses, const Request& request)
{
    if (!request.allowErrorDoses) {
        checkAreDoses(doses);
    }
    checkUnits(doses.reference, doses.evaluation, request.normalisation.isGiven());
}

void addWarnings(std::vector<Sentence>& warnings, const GivenDoses& doses)
{
    const DoseImage& reference = doses.reference;
    const DoseImage& evaluation = doses.evaluation;
    for (const DoseImage* const dose : allOf(doses)) {
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
        warnings.emplace_back(
            "the files hold different types of dose: " + excerpt(reference.dicom->doseType) +
            " and " + excerpt(evaluation.dicom->doseType));
    }
}

} // namespace zarngi
