#include "comparison/request/doseChecks.h"

#include "comparison/failure.h"

namespace zarngi
{

namespace
{

/** Of all files: the two, and what is added to them. */
std::vector<const DoseImage*> dosesOf(const Comparison& comparison)
{
    std::vector<const DoseImage*> doses{&comparison.reference, &comparison.evaluation};
    for (const DoseMaking* making : {&comparison.referenceMaking, &comparison.evaluationMaking}) {
        for (const DoseImage& added : making->added) {
            doses.push_back(&added);
        }
    }
    return doses;
}

void checkAreDoses(const Comparison& comparison)
{
    for (const DoseImage* const dose : dosesOf(comparison)) {
        if (dose->isError() && !comparison.allowsErrorDoses) {
            throw InputError(dose->path +
                             ": holds differences between doses, no doses (Dose Type ERROR); the "
                             "program compares them as doses with --allow-error-doses");
        }
    }
}

void checkUnits(const Comparison& comparison)
{
    for (const DoseImage* dose : {&comparison.reference, &comparison.evaluation}) {
        if (dose->isRelative && !comparison.normalisationRequest.isGiven()) {
            throw InputError(dose->path + ": holds relative doses, not Gy; they are compared as "
                                          "they are when --norm gives the dose of 100 %");
        }
    }
    if (comparison.reference.isRelative != comparison.evaluation.isRelative) {
        throw InputError("one file holds relative doses and the other one Gy: " +
                         comparison.reference.path + ", " + comparison.evaluation.path);
    }
}

void warnAbout(Comparison& comparison)
{
    for (const DoseImage* const dose : dosesOf(comparison)) {
        for (const std::string& warning : dose->warnings) {
            comparison.warnings.push_back(dose->path + ": " + warning);
        }
    }
    const auto& reference = comparison.reference.dicom;
    const auto& evaluation = comparison.evaluation.dicom;
    if (!reference || !evaluation || comparison.reference.format != comparison.evaluation.format) {
        return;
    }
    if (reference->frameOfReference != evaluation->frameOfReference) {
        comparison.warnings.emplace_back(
            "the files have different Frame of Reference UIDs: their positions may not match");
    }
    if (reference->doseType != evaluation->doseType) {
        comparison.warnings.push_back("the files hold different types of dose: " +
                                      reference->doseType + " and " + evaluation->doseType);
    }
}

} // namespace

void checkDoses(Comparison& comparison)
{
    checkAreDoses(comparison);
    checkUnits(comparison);
    warnAbout(comparison);
}

void findExtremes(Comparison& comparison)
{
    comparison.referenceExtremes = extremesOf(comparison.reference);
    comparison.evaluationExtremes = extremesOf(comparison.evaluation);
}

} // namespace zarngi
