#include "comparison/composition/doseChecks.h"

#include <cmath>

#include "comparison/failure.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

void checkUnits(const DoseImage& reference, const DoseImage& evaluation, bool isNormalised)
{
    for (const DoseImage* dose : {&reference, &evaluation}) {
        if (dose->unit == DoseUnit::relative && !isNormalised) {
            throw failureOf(dose->path,
                            Sentence("holds relative doses, not Gy; they are compared as they are "
                                     "when ") +
                                Member::normalisation + " gives the dose of 100 %");
        }
    }
    const bool isReferenceRelative = reference.unit == DoseUnit::relative;
    if (isReferenceRelative != (evaluation.unit == DoseUnit::relative)) {
        const DoseImage& other = isReferenceRelative ? evaluation : reference;
        throw InputError(Sentence("one file holds relative doses and the other one ") +
                         files::unitName(other.unit) + ": " + FileName{reference.path} + ", " +
                         FileName{evaluation.path});
    }
}

/** The unit of a dose that a factor makes one in gray, or in what the other is in. */
DoseUnit settledUnit(const DoseImage& dose, const DoseRequest& request, const DoseImage& other,
                     const DoseRequest& ofOther)
{
    const bool isMade = !request.factor.text.empty() && files::needsFactor(dose.unit);
    return !isMade ? dose.unit : ofOther.factor.text.empty() ? other.unit : DoseUnit::gray;
}

/** Whether a dose that needs a factor is beside one in another unit. */
bool areUnitsApart(const DoseImage& reference, const DoseImage& evaluation)
{
    return reference.unit != evaluation.unit &&
           (files::needsFactor(reference.unit) || files::needsFactor(evaluation.unit));
}

/** "the files hold doses in Gy/history (FILE) and in Gy (FILE)" */
Sentence unitsOf(const DoseImage& reference, const DoseImage& evaluation)
{
    return Sentence("the files hold doses in ") + files::unitName(reference.unit) + " (" +
           FileName{reference.path} + ") and in " + files::unitName(evaluation.unit) + " (" +
           FileName{evaluation.path} + ")";
}

} // namespace

void checkIsDose(const DoseImage& dose)
{
    if (dose.isError()) {
        throw failureOf(dose.path, Sentence("holds differences between doses, no doses (Dose Type "
                                            "ERROR); ") +
                                       Member::allowErrorDoses + " compares them as doses");
    }
}

void addWarnings(std::vector<Sentence>& warnings, const DoseImage& dose)
{
    for (const std::string& warning : dose.warnings) {
        warnings.push_back(Sentence(FileName{dose.path}) + ": " + warning);
    }
}

void settleUnits(GivenDoses& doses, const Request& request)
{
    const DoseUnit reference =
        settledUnit(doses.reference, request.reference, doses.evaluation, request.evaluation);
    doses.evaluation.unit =
        settledUnit(doses.evaluation, request.evaluation, doses.reference, request.reference);
    doses.reference.unit = reference;
}

namespace
{

/** Planes at other distances from the source show the same beam in other sizes. */
void addDistanceWarning(std::vector<Sentence>& warnings, const DoseImage& reference,
                        const DoseImage& evaluation)
{
    constexpr double sameDistance = 0.05; // mm
    const auto distanceOf = [](const DoseImage& dose) {
        return dose.measurement ? dose.measurement->sourceDistance : 0;
    };
    const double ofReference = distanceOf(reference);
    const double ofEvaluation = distanceOf(evaluation);
    if (ofReference > 0 && ofEvaluation > 0 &&
        std::fabs(ofReference - ofEvaluation) > sameDistance) {
        warnings.emplace_back("the planes lie " + number(ofReference) + " and " +
                              number(ofEvaluation) +
                              " mm from the source: their positions do not match");
    }
}

} // namespace

void checkDoses(const GivenDoses& doses, const Request& request)
{
    for (const DoseImage* const dose : doses.all()) {
        if (!request.allowErrorDoses) {
            checkIsDose(*dose);
        }
    }
    const bool isNormalised = request.normalisation.isGiven();
    checkUnits(doses.reference, doses.evaluation, isNormalised);
    if (areUnitsApart(doses.reference, doses.evaluation) && !isNormalised) {
        throw InputError({Member::normalisation},
                         unitsOf(doses.reference, doses.evaluation) + "; " +
                             Member::referenceScale + " or " + Member::evaluationScale +
                             " makes them alike, or " + Member::normalisation +
                             " gives the dose of 100 % for doses as they are");
    }
}

void addWarnings(std::vector<Sentence>& warnings, const GivenDoses& doses, bool quotesFiles)
{
    const DoseImage& reference = doses.reference;
    const DoseImage& evaluation = doses.evaluation;
    for (const DoseImage* const dose : doses.all()) {
        addWarnings(warnings, *dose);
    }
    if (areUnitsApart(reference, evaluation)) {
        warnings.push_back(unitsOf(reference, evaluation) + "; they are compared as they are");
    }
    addDistanceWarning(warnings, reference, evaluation);
    if (!reference.dicom || !evaluation.dicom || reference.format != evaluation.format) {
        return;
    }
    if (reference.dicom->frameOfReference != evaluation.dicom->frameOfReference) {
        warnings.emplace_back(
            "the files have different frames of reference: their positions may not match");
    }
    if (reference.dicom->doseType != evaluation.dicom->doseType) {
        warnings.emplace_back(files::told(
            "the files hold different types of dose: " + excerpt(reference.dicom->doseType) +
                " and " + excerpt(evaluation.dicom->doseType),
            quotesFiles));
    }
}

} // namespace zarngi
