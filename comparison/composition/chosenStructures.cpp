#include "comparison/composition/chosenStructures.h"

#include <algorithm>
#include <utility>

#include "comparison/failure.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

enum class Frames { same, different, untold };

/** Whether the structures of a file and the reference lie in the same frame of reference. */
Frames framesOf(const files::StructureSet& set, const DoseImage& reference)
{
    const std::string frame = reference.dicom ? reference.dicom->frameOfReference : "";
    Frames frames = Frames::same;
    for (const files::Structure& structure : set.structures) {
        if (frame.empty() != structure.frameOfReference.empty()) {
            frames = Frames::untold;
        } else if (frame != structure.frameOfReference) {
            return Frames::different;
        }
    }
    return frames;
}

void checkFrame(const files::StructureSet& set, bool isIgnored, const DoseImage& reference,
                std::vector<Sentence>& warnings)
{
    const Frames frames = framesOf(set, reference);
    if (frames == Frames::different && !isIgnored) {
        throw InputError({Member::ignoreFrame},
                         Sentence(FileName{set.path}) +
                             ": its structures lie in another Frame of Reference than " +
                             FileName{reference.path} + " (" + Member::ignoreFrame +
                             " takes their positions as they are)");
    }
    const Sentence file(FileName{set.path});
    if (frames == Frames::different) {
        warnings.push_back(file + ": its structures lie in another Frame of Reference than the "
                                  "reference: their positions may not match");
    } else if (frames == Frames::untold && set.canTellFrame) {
        const bool isTold = reference.dicom && !reference.dicom->frameOfReference.empty();
        warnings.push_back(file + ": its Frame of Reference cannot be compared, since " +
                           (isTold ? "it tells none" : "the reference tells none") +
                           ": positions are taken as they are");
    }
}

[[noreturn]] void refuseGray(const MemberPlace& place, const std::string& what,
                             const DoseImage& dose)
{
    const char* const held = dose.unit == DoseUnit::relative     ? "relative doses"
                             : dose.unit == DoseUnit::calibrated ? "doses in CU"
                                                                 : "doses of a simulation";
    throw refusalOf(place, what + " asks for a dose in Gy, but the files hold " + held);
}

/** Figures in Gy are asked for doses in Gy alone. */
void checkUnits(const Request& request, const DoseImage& dose)
{
    if (dose.unit == DoseUnit::gray) {
        return;
    }
    for (const DoseMetric& metric : request.structures.metrics) {
        if (metric.kind == DoseMetric::Kind::volumeAtDose) {
            refuseGray({Member::metrics}, metric.label(), dose);
        }
    }
    for (std::size_t i = 0; i < request.goals.size(); ++i) {
        if (request.goals[i].needsGray()) {
            refuseGray({Member::goals, i}, '"' + oneLine(request.goals[i].text) + '"', dose);
        }
    }
}

DoseVolumeSettings doseVolumeSettings(const Request& request, const DosesInStructures& doses)
{
    const StructureRequest& structures = request.structures;
    checkUnits(request, doses.reference);
    DoseVolumeSettings settings;
    std::vector<DoseMetric> metrics = structures.metrics;
    const std::vector<DoseMetric> ofGoals = metricsOf(request.goals);
    metrics.insert(metrics.end(), ofGoals.begin(), ofGoals.end());
    settings.metrics = withUsualMetrics(metrics);
    settings.fullDose = structures.prescription.value_or(doses.normalisation);
    settings.binWidth = curveBinWidth(doses.largest);
    return settings;
}

void setLimits(StructureComparison& structures, const LimitRequest& request)
{
    const Limits general = request.general();
    const std::vector<StructureName> names = structures.names();
    const auto tolerances = request.tolerance.of(names);
    const auto actions = request.action.of(names);
    const auto failBelow = request.failBelow.of(names);
    for (std::size_t i = 0; i < names.size(); ++i) {
        StructureRow& row = structures.rows[i];
        row.limits.tolerance = tolerances[i].value_or(general.tolerance);
        row.limits.action = actions[i].value_or(general.action);
        row.failBelow = failBelow[i];
        if (row.limits.action > row.limits.tolerance) {
            throw UsageError({Member::action},
                             Sentence(Member::action) + " " + number(row.limits.action) +
                                 " is above " + Member::tolerance + " " +
                                 number(row.limits.tolerance) + " for " + oneLine(names[i].unique));
        }
    }
}

TestedPart testedPart(const std::string& text, const StructureCatalogue& catalogue,
                      const StructureSelection& selection, const Geometry& grid)
{
    const StructureExpression expression =
        structuresTogether({Member::within}, text, catalogue, selection);
    TestedPart part{text, pointsIn(expression, catalogue, files::voxelCentres(grid))};
    if (part.voxels.empty()) {
        throw InputError(Sentence(Member::within) + ": " + oneLine(text) +
                         " holds no voxel of the dose grid");
    }
    return part;
}

/** That structures have something to lie in. */
void checkAreVolumes(const std::vector<const DoseImage*>& doses)
{
    for (const DoseImage* const dose : doses) {
        if (!dose->hasVolume()) {
            throw UsageError({Member::structureFiles},
                             Sentence(Member::structureFiles) + " is for volumes, and " +
                                 FileName{dose->path} +
                                 (dose->isPlane() ? " is a plane" : " is none"));
        }
    }
}

/** One dose has no difference. */
void refuseDifferences(const std::vector<Goal>& goals)
{
    for (std::size_t i = 0; i < goals.size(); ++i) {
        if (goals[i].isOfDifference()) {
            throw refusalOf({Member::goals, i}, Sentence("\"") + oneLine(goals[i].text) +
                                                    "\" is for two doses, and there is one");
        }
    }
}

/** Judged before anything is searched, so that what matches nothing is told now. */
std::vector<GoalResult> judgedGoals(const std::vector<Goal>& goals,
                                    const StructureComparison& structures,
                                    const DosesInStructures& doses)
{
    if (!doses.isPair()) {
        refuseDifferences(goals);
    }
    return judgeGoals(goals,
                      {structures, viewOf(doses.reference.image), viewOf(doses.evaluation.image),
                       files::unitName(doses.reference.unit)},
                      doses.isPair());
}

} // namespace

std::shared_ptr<const StructureCatalogue> catalogueOf(const StructureRequest& request,
                                                      DoseSource& source,
                                                      const std::vector<const DoseImage*>& doses,
                                                      std::vector<Sentence>& warnings)
{
    if (request.files.empty()) {
        return nullptr;
    }
    checkAreVolumes(doses);
    std::vector<files::StructureSet> sets;
    for (const std::string& file : request.files) {
        sets.push_back(source.structures(file));
    }
    for (const files::StructureSet& set : sets) {
        for (const std::string& warning : set.warnings) {
            warnings.push_back(Sentence(FileName{set.path}) + ": " + warning);
        }
        checkFrame(set, request.ignoreFrame, *doses.front(), warnings);
    }
    return std::make_shared<StructureCatalogue>(
        std::move(sets), doses.front()->image.geometry.spacing[2], source.isDiscreet());
}

DosesInStructures pairOf(const ComparedDoses& doses)
{
    return {doses.reference, doses.evaluation, doses.normalisation,
            std::max(doses.referenceExtremes.maximum, doses.evaluationExtremes.maximum)};
}

ChosenStructures chosenStructures(std::shared_ptr<const StructureCatalogue> catalogue,
                                  const Request& request, const DosesInStructures& doses,
                                  std::vector<Sentence>& warnings)
{
    if (!catalogue) {
        return {};
    }
    const StructureRequest& wanted = request.structures;
    const StructureSelection selection =
        selectStructures(*catalogue, wanted.shown, wanted.excluded);
    for (const RefusedStructure& refused : selection.refused) {
        warnings.emplace_back(refused.name + ": " + refused.reason);
    }
    const Image& reference = doses.reference.image;
    ChosenStructures chosen;
    if (!wanted.within.empty()) {
        chosen.within = testedPart(wanted.within, *catalogue, selection, reference.geometry);
    }
    chosen.structures = compareStructures(
        std::move(catalogue), selection, viewOf(reference), viewOf(doses.evaluation.image),
        doseVolumeSettings(request, doses), request.settings.threads);
    chosen.structures->prescription = wanted.prescription;
    setLimits(*chosen.structures, request.limits);
    for (const CriterionRequest& asked : request.criteria) {
        rowsOf(asked.patterns, *chosen.structures); // tells now what matches nothing
    }
    chosen.goals = judgedGoals(request.goals, *chosen.structures, doses);
    return chosen;
}

std::vector<bool> rowsOf(const std::vector<std::string>& patterns,
                         const StructureComparison& structures)
{
    std::vector<bool> isMeant(structures.rows.size(), patterns.empty());
    for (const std::string& pattern : patterns) {
        for (const std::size_t row : matchesOf({Member::criteria}, structures.names(), pattern)) {
            isMeant[row] = true;
        }
    }
    return isMeant;
}

} // namespace zarngi
