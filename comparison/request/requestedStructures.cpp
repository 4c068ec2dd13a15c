#include "comparison/request/requestedStructures.h"

#include <algorithm>

#include "comparison/failure.h"
#include "comparison/structures/structureLimits.h"
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

/** Masks in formats that never tell their frame are not warned about. */
bool canTellFrame(const files::StructureSet& set)
{
    return set.format.starts_with("DICOM");
}

void checkFrame(const files::StructureSet& set, bool isIgnored, Comparison& comparison)
{
    const Frames frames = framesOf(set, comparison.reference);
    if (frames == Frames::different && !isIgnored) {
        throw InputError(set.path + ": its structures lie in another Frame of Reference than " +
                         comparison.reference.path +
                         " (--ignore-frame takes their positions as they are)");
    }
    if (frames == Frames::different) {
        comparison.warnings.push_back(set.path +
                                      ": its structures lie in another Frame of Reference than "
                                      "the reference: their positions may not match");
    } else if (frames == Frames::untold && canTellFrame(set)) {
        comparison.warnings.push_back(
            set.path + ": its Frame of Reference cannot be compared, since " +
            (comparison.reference.dicom && !comparison.reference.dicom->frameOfReference.empty()
                 ? "it tells none"
                 : "the reference tells none") +
            ": positions are taken as they are");
    }
}

DoseVolumeSettings doseVolumeSettings(const StructureOptions& options, const Comparison& comparison)
{
    DoseVolumeSettings settings;
    settings.metrics = doseMetrics(options.metrics);
    settings.fullDose = options.prescription.value_or(comparison.normalisation());
    settings.binWidth = curveBinWidth(
        std::max(comparison.referenceExtremes.maximum, comparison.evaluationExtremes.maximum));
    for (const DoseMetric& metric : settings.metrics) {
        if (metric.kind == DoseMetric::Kind::volumeAtDose &&
            comparison.reference.unit != DoseUnit::gray) {
            const bool isRelative = comparison.reference.unit == DoseUnit::relative;
            throw UsageError("--dvh: " + metric.label() +
                             " asks for a dose in Gy, but the files hold " +
                             (isRelative ? "relative doses" : "doses of a simulation"));
        }
    }
    return settings;
}

void setLimits(StructureComparison& structures, const LimitOptions& options, const Limits& general)
{
    const std::vector<StructureName> names = structures.names();
    const auto tolerances = StructureLimits("--tolerance", options.tolerance).of(names);
    const auto actions = StructureLimits("--action", options.action).of(names);
    const auto failBelow = StructureLimits("--fail-below", options.failBelow).of(names);
    for (std::size_t i = 0; i < names.size(); ++i) {
        StructureRow& row = structures.rows[i];
        row.limits.tolerance = tolerances[i].value_or(general.tolerance);
        row.limits.action = actions[i].value_or(general.action);
        row.failBelow = failBelow[i];
        if (row.limits.action > row.limits.tolerance) {
            throw UsageError("--action " + number(row.limits.action) + " is above --tolerance " +
                             number(row.limits.tolerance) + " for " + oneLine(names[i].unique));
        }
    }
}

TestedPart testedPart(const std::string& text, const StructureCatalogue& catalogue,
                      const StructureSelection& selection, const Geometry& grid)
{
    const StructureExpression expression =
        structuresTogether("--within", text, catalogue, selection);
    TestedPart part{text, pointsIn(expression, catalogue, files::voxelCentres(grid))};
    if (part.voxels.empty()) {
        throw InputError("--within: " + oneLine(text) + " holds no voxel of the dose grid");
    }
    return part;
}

} // namespace

void checkAreVolumes(const Comparison& comparison)
{
    for (const DoseImage* dose : {&comparison.reference, &comparison.evaluation}) {
        if (!dose->hasVolume()) {
            throw UsageError("--structures is for volumes, and " + oneLine(dose->path) +
                             (dose->isPlane() ? " is a plane" : " is none"));
        }
    }
}

std::shared_ptr<const StructureCatalogue> catalogueOf(std::vector<files::StructureSet> sets,
                                                      const StructureOptions& options,
                                                      Comparison& comparison)
{
    for (const files::StructureSet& set : sets) {
        for (const std::string& warning : set.warnings) {
            comparison.warnings.push_back(set.path);
            comparison.warnings.back().append(": ").append(warning);
        }
        checkFrame(set, options.ignoreFrame, comparison);
    }
    return std::make_shared<StructureCatalogue>(std::move(sets),
                                                comparison.reference.image.geometry.spacing[2]);
}

void addStructures(Comparison& comparison, std::shared_ptr<const StructureCatalogue> catalogue,
                   const ComparisonRequest& request)
{
    const StructureOptions& wanted = request.structures;
    const StructureSelection selection =
        selectStructures(*catalogue, wanted.shown, wanted.excluded);
    for (const RefusedStructure& refused : selection.refused) {
        comparison.warnings.push_back(refused.name + ": " + refused.reason);
    }
    const Image& reference = comparison.reference.image;
    if (!wanted.within.empty()) {
        comparison.within = testedPart(wanted.within, *catalogue, selection, reference.geometry);
    }
    comparison.structures = compareStructures(
        std::move(catalogue), selection, viewOf(reference), viewOf(comparison.evaluation.image),
        doseVolumeSettings(wanted, comparison), comparison.settings.threads);
    comparison.structures->prescription = wanted.prescription;
    setLimits(*comparison.structures, request.limits, comparison.limits);
    for (const CriterionResult& result : comparison.results) {
        rowsOf(result.patterns, *comparison.structures); // tells now what matches nothing
    }
}

std::vector<bool> rowsOf(const std::vector<std::string>& patterns,
                         const StructureComparison& structures)
{
    std::vector<bool> isMeant(structures.rows.size(), patterns.empty());
    for (const std::string& pattern : patterns) {
        for (const std::size_t row : matchesOf("--criteria", structures.names(), pattern)) {
            isMeant[row] = true;
        }
    }
    return isMeant;
}

} // namespace zarngi
