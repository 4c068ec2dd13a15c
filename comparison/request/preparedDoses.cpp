#include "comparison/request/preparedDoses.h"

#include "comparison/failure.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

void make(DoseImage& dose, DoseMaking& making, const std::vector<std::string>& added,
          const ReadDose& read)
{
    for (const std::string& path : added) {
        making.added.push_back(read(path));
    }
    combine(dose, making.added, making.factor);
}

/** Turned or tilted lattices leave planes, and each point would have one of its own. */
void checkSettings(const Comparison& comparison)
{
    if (comparison.placed.space == SearchSpace::volume) {
        return;
    }
    if (comparison.settings.rotate) {
        throw UsageError("--rotate is for volumes: it turns the search out of planes, and "
                         "differently for each point");
    }
    for (const CriterionResult& result : comparison.results) {
        if (isInPlane(comparison.placed.space) &&
            static_cast<double>(stepSize(comparison.settings, result.criterion)) <=
                files::planeThickness) {
            throw UsageError("the search step must be above " + number(files::planeThickness) +
                             " mm in a plane");
        }
    }
}

} // namespace

void makeDoses(Comparison& comparison, const MeasurementOptions& options, const ReadDose& read)
{
    const auto factor = [](const char* option, const std::string& text) {
        return text.empty() ? DoseFactor() : parseFactor(option, text);
    };
    comparison.referenceMaking.factor = factor("--reference-scale", options.referenceScale);
    comparison.evaluationMaking.factor = factor("--evaluation-scale", options.evaluationScale);
    make(comparison.reference, comparison.referenceMaking, options.referenceAdded, read);
    make(comparison.evaluation, comparison.evaluationMaking, options.evaluationAdded, read);
}

void placeDoses(Comparison& comparison, const MeasurementOptions& options)
{
    comparison.placed =
        placeDoses(comparison.reference, comparison.evaluation, options.placement());
    comparison.warnings.insert(comparison.warnings.end(), comparison.placed.warnings.begin(),
                               comparison.placed.warnings.end());
    checkSettings(comparison);
}

void setNormalisation(Comparison& comparison)
{
    comparison.settings.normalisation =
        normalisationDose(comparison.normalisationRequest, comparison.reference,
                          comparison.evaluationExtremes, comparison.placed.space);
}

} // namespace zarngi
