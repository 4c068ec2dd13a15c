#include "comparison/request/doseChecks.h"

#include "comparison/failure.h"

namespace zarngi
{

namespace
{

/** A factor makes gray of the doses of a simulation, or what the other ones are in. */
void settleUnits(Comparison& comparison)
{
    const auto settled = [](const DoseImage& dose, const DoseMaking& making, const DoseImage& other,
                            const DoseMaking& ofOther) {
        const bool isMade = !making.factor.text.empty() && files::isSimulated(dose.unit);
        return !isMade ? dose.unit : ofOther.factor.text.empty() ? other.unit : DoseUnit::gray;
    };
    const DoseUnit reference = settled(comparison.reference, comparison.referenceMaking,
                                       comparison.evaluation, comparison.evaluationMaking);
    comparison.evaluation.unit = settled(comparison.evaluation, comparison.evaluationMaking,
                                         comparison.reference, comparison.referenceMaking);
    comparison.reference.unit = reference;
}

/** Doses of a simulation and others meet where the request tells how. */
void checkSimulated(Comparison& comparison)
{
    const DoseImage& reference = comparison.reference;
    const DoseImage& evaluation = comparison.evaluation;
    const bool isOneSimulated =
        files::isSimulated(reference.unit) || files::isSimulated(evaluation.unit);
    if (reference.unit == evaluation.unit || !isOneSimulated) {
        return;
    }
    const std::string units = std::string("the files hold doses in ") +
                              files::unitName(reference.unit) + " (" + reference.path +
                              ") and in " + files::unitName(evaluation.unit) + " (" +
                              evaluation.path + ")";
    if (!comparison.normalisationRequest.isGiven()) {
        throw InputError(units + "; --reference-scale or --evaluation-scale makes them alike, or "
                                 "--norm gives the dose of 100 % for doses as they are");
    }
    comparison.warnings.push_back(units + "; they are compared as they are");
}

void checkUnits(const Comparison& comparison)
{
    for (const DoseImage* dose : {&comparison.reference, &comparison.evaluation}) {
        if (dose->unit == DoseUnit::relative && !comparison.normalisationRequest.isGiven()) {
            throw InputError(dose->path + ": holds relative doses, not Gy; they are compared as "
                                          "they are when --norm gives the dose of 100 %");
        }
    }
    const bool isReferenceRelative = comparison.reference.unit == DoseUnit::relative;
    if (isReferenceRelative != (comparison.evaluation.unit == DoseUnit::relative)) {
        throw InputError("one file holds relative doses and the other one Gy: " +
                         comparison.reference.path + ", " + comparison.evaluation.path);
    }
}

void warnAbout(Comparison& comparison)
{
    for (const DoseImage* dose : {&comparison.reference, &comparison.evaluation}) {
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
    settleUnits(comparison);
    checkUnits(comparison);
    checkSimulated(comparison);
    warnAbout(comparison);
}

void findExtremes(Comparison& comparison)
{
    comparison.referenceExtremes = extremesOf(comparison.reference);
    comparison.evaluationExtremes = extremesOf(comparison.evaluation);
}

} // namespace zarngi
