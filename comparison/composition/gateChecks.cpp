#include "comparison/composition/gateChecks.h"

#include <algorithm>

#include "comparison/doseSampling.h"
#include "comparison/failure.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

/** @throws InputError where it is refused */
void warn(std::vector<GateWarning>& gate, const std::vector<Gate>& refused, Gate name,
          Sentence sentence)
{
    if (std::find(refused.begin(), refused.end(), name) != refused.end()) {
        throw InputError(std::move(sentence) + " (" + Member::refuse + " " + gateName(name) + ")");
    }
    gate.push_back({name, std::move(sentence)});
}

void warn(Comparison& comparison, Gate name, Sentence sentence)
{
    warn(comparison.gate, comparison.request.refuse, name, std::move(sentence));
}

/** Doses at one place after the other, whatever the file, or one file twice. */
bool areIdentical(const Comparison& comparison)
{
    const Image& reference = comparison.reference.image;
    const Image& evaluation = comparison.evaluation.image;
    return reference.geometry.size == evaluation.geometry.size &&
           std::equal(reference.values.begin(), reference.values.end(), evaluation.values.begin(),
                      evaluation.values.end());
}

bool isOneFile(const Comparison& comparison)
{
    const DoseImage& reference = comparison.reference;
    const DoseImage& evaluation = comparison.evaluation;
    const bool isOneObject = reference.dicom && evaluation.dicom &&
                             !reference.dicom->sopInstance.empty() &&
                             reference.dicom->sopInstance == evaluation.dicom->sopInstance;
    const auto digestOf = [&](const DoseImage& dose) {
        const auto found = comparison.digests.find(dose.dataPath);
        return found != comparison.digests.end() ? found->second.sha256 : std::string();
    };
    return isOneObject || (!reference.path.empty() && reference.path == evaluation.path) ||
           (!digestOf(reference).empty() && digestOf(reference) == digestOf(evaluation));
}

void checkIdentity(Comparison& comparison)
{
    if (areIdentical(comparison)) {
        warn(comparison, Gate::identicalDoses, "the doses of reference and evaluation are equal");
    } else if (isOneFile(comparison)) {
        warn(comparison, Gate::identicalDoses, "reference and evaluation are one file");
    }
}

/** IDs that doses tell. */
std::vector<std::string> patientsOf(const std::vector<const DoseImage*>& doses)
{
    std::vector<std::string> patients;
    for (const DoseImage* const dose : doses) {
        if (dose->dicom && !dose->dicom->patientId.empty()) {
            patients.push_back(dose->dicom->patientId);
        }
    }
    return patients;
}

/** A factor of 100 apart, as Gy and cGy are, or % and shares. */
void checkMaxima(Comparison& comparison)
{
    constexpr double nearest = 50;
    constexpr double farthest = 200;
    const double reference = comparison.referenceExtremes.maximum;
    const double evaluation = comparison.evaluationExtremes.maximum;
    const double ratio = std::max(reference, evaluation) / std::min(reference, evaluation);
    if (ratio >= nearest && ratio <= farthest) {
        warn(comparison, Gate::maximaRatio,
             "the maxima of the doses are " + number(ratio, 3) + " apart: reference " +
                 number(reference) + ", evaluation " + number(evaluation) +
                 "; one of them may be in another unit");
    }
}

void checkNegative(Comparison& comparison)
{
    const auto check = [&](const char* name, const DoseImage& dose, const DoseExtremes& extremes) {
        if (extremes.minimum < 0 && !dose.isError()) {
            warn(comparison, Gate::negativeDoses,
                 std::string("the ") + name + " holds doses below 0, down to " +
                     number(extremes.minimum) + " " + files::unitName(dose.unit));
        }
    };
    check("reference", comparison.reference, comparison.referenceExtremes);
    check("evaluation", comparison.evaluation, comparison.evaluationExtremes);
}

/** mm, from edge to edge. */
double lengthOf(const Geometry& grid, std::size_t axis)
{
    return grid.size[axis] * grid.spacing[axis];
}

/** Of the smaller of two grids, the share of its volume that lies in the other one. */
double sharedPart(const Geometry& a, const Geometry& b)
{
    double shared = 1;
    double smaller = 1;
    double larger = 1;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double low = std::max(a.centre(axis, -0.5), b.centre(axis, -0.5));
        const double high =
            std::min(a.centre(axis, a.size[axis] - 0.5), b.centre(axis, b.size[axis] - 0.5));
        shared *= std::max(high - low, 0.0);
        smaller *= lengthOf(a, axis);
        larger *= lengthOf(b, axis);
    }
    return shared / std::min(smaller, larger);
}

double sharedPoints(const std::vector<Vec3>& points, const Geometry& grid)
{
    const auto isInside = [&](const Vec3& point) {
        return placeOf(grid, 0, point[0]).isInside && placeOf(grid, 1, point[1]).isInside &&
               placeOf(grid, 2, point[2]).isInside;
    };
    return static_cast<double>(std::count_if(points.begin(), points.end(), isInside)) /
           static_cast<double>(points.size());
}

void checkOverlap(Comparison& comparison)
{
    constexpr double little = 0.5;
    const Geometry& evaluation = comparison.evaluation.image.geometry;
    const bool arePlaces = arePoints(comparison.placed.space);
    const double shared = arePlaces
                              ? sharedPoints(comparison.reference.measurement->points, evaluation)
                              : sharedPart(comparison.reference.image.geometry, evaluation);
    if (shared < little) {
        warn(comparison, Gate::littleOverlap,
             "only " + number(100 * shared, 3) + " % of the " +
                 (arePlaces ? "points lie in the grid of the evaluation"
                            : "smaller grid lies in the other one"));
    }
}

} // namespace

void checkPatients(std::vector<GateWarning>& gate, const std::vector<Gate>& refused,
                   const PatientFiles& given)
{
    const std::vector<std::string> patients = patientsOf(given.doses);
    const auto isOther = [&](const std::string& patient) { return patient != patients.front(); };
    if (std::any_of(patients.begin(), patients.end(), isOther)) {
        warn(gate, refused, Gate::otherPatient, "the doses have different Patient IDs");
    }
    for (const ComparedPlan& compared : given.plans) {
        if (compared.isOfOtherPatient) {
            warn(gate, refused, Gate::otherPatientPlan,
                 Sentence(FileName{compared.plan.path}) +
                     ": is a plan of another patient than the doses (Patient ID), and nothing of "
                     "it is told; give the plan of these doses");
        }
    }
    if (given.structures == nullptr || patients.empty()) {
        return;
    }
    for (const files::StructureSet& set : given.structures->sets()) {
        if (!set.patientId.empty() && isOther(set.patientId)) {
            warn(gate, refused, Gate::otherPatientStructures,
                 Sentence(FileName{set.path}) + ": its structures have another Patient ID than "
                                                "the doses");
        }
    }
}

void checkDoseGate(Comparison& comparison)
{
    checkIdentity(comparison);
    checkPatients(comparison.gate, comparison.request.refuse,
                  {comparison.all(),
                   comparison.structures ? comparison.structures->catalogue.get() : nullptr,
                   comparison.plans});
    checkMaxima(comparison);
    checkNegative(comparison);
    checkOverlap(comparison);
    if (comparison.request.isReferenceGuessed) {
        warn(comparison, Gate::guessedReference,
             "which dose is the reference was guessed, and nobody has confirmed it");
    }
}

void checkResultGate(Comparison& comparison, const std::vector<CriterionResult>& results)
{
    if (results.empty()) { // nothing but findings was asked for
        return;
    }
    constexpr double most = 0.01;
    const CriterionResult& worst = mostUnreached(results);
    const std::size_t tested = worst.statistics.tested;
    const std::size_t unreached = worst.statistics.unreached;
    if (static_cast<double>(unreached) > most * static_cast<double>(tested)) {
        warn(comparison, Gate::unreached,
             worst.criterion.label() + ": " + grouped(unreached) + " of " + grouped(tested) +
                 " tested " + placesName(comparison.reference) +
                 " have no evaluation dose in reach: they fail, neither hot nor cold");
    }
}

} // namespace zarngi
