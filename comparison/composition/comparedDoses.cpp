#include "comparison/composition/comparedDoses.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>
#include <utility>

#include "comparison/composition/doseChecks.h"
#include "comparison/failure.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

/** The doses that are added to one, without their values. */
std::vector<DoseImage> combined(DoseImage& dose, const DoseRequest& request, DoseSource& source,
                                const files::TableUnits& units)
{
    std::vector<DoseImage> added;
    for (const std::string& file : request.added) {
        added.push_back(source.dose(file, units));
    }
    combineUncertainties(dose, added, request.factor.value);
    combine(dose, added, request.factor);
    return added;
}

/** The file of the uncertainties of a dose, without its values, where there is one. */
std::optional<DoseImage> readUncertainties(DoseImage& dose, const DoseRequest& of,
                                           const Request& request, DoseSource& source)
{
    if (!of.uncertainty.isFile()) {
        return {};
    }
    std::optional<DoseImage> file = source.dose(of.uncertainty.text, request.units);
    setUncertainties(dose, *file, *request.uncertaintyUnit, of.factor.value);
    return file;
}

void setPercentages(GivenDoses& doses, const Request& request)
{
    if (request.reference.uncertainty.percent) {
        setUncertainties(doses.reference, *request.reference.uncertainty.percent);
    }
    if (request.evaluation.uncertainty.percent) {
        setUncertainties(doses.evaluation, *request.evaluation.uncertainty.percent);
    }
}

/** mm, of the finest lattice that will be searched. */
double smallestStep(const Request& request)
{
    double smallest = std::numeric_limits<double>::infinity();
    const auto regard = [&](const Criterion& criterion) {
        smallest = std::min(smallest, static_cast<double>(stepSize(request.settings, criterion)));
    };
    for (const CriterionRequest& asked : request.criteria) {
        regard(asked.criterion);
    }
    for (const CriterionRange& range : request.sweeps) {
        regard({range.doseDifferences.front(), range.distances.front(), range.isLocal});
    }
    return smallest;
}

/**
 * Makes planes, and lines in them, thinner than a step, so that the lattice has no points but their
 * own inside them. The thickness stays a power of two: half of it, and so the middle at 0, is
 * exact.
 */
void makeThin(GivenDoses& doses, double step)
{
    if (!isInPlane(doses.placed.space) || step > files::planeThickness) {
        return;
    }
    for (DoseImage* const dose : {&doses.reference, &doses.evaluation}) {
        Geometry& grid = dose->image.geometry;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (grid.size[axis] == 1 && grid.spacing[axis] == files::planeThickness) {
                grid.spacing[axis] = std::exp2(std::floor(std::log2(step)));
            }
        }
    }
}

/** Turned or tilted lattices leave planes, and each point would have one of its own. */
void checkSettings(const Request& request, SearchSpace space)
{
    if (space != SearchSpace::volume && request.settings.rotate) {
        throw UsageError({Member::rotate},
                         Sentence(Member::rotate) +
                             " is for volumes: it turns the search out of planes, and differently "
                             "for each point");
    }
}

} // namespace

GivenDoses givenDoses(const Request& request, DoseSource& source, std::vector<Sentence>& warnings)
{
    GivenDoses doses;
    if (request.noise) {
        source.keepUncertainty();
    }
    std::tie(doses.reference, doses.evaluation) =
        source.doses(request.reference.file, request.evaluation.file, request.units);
    doses.referenceAdded = combined(doses.reference, request.reference, source, request.units);
    doses.evaluationAdded = combined(doses.evaluation, request.evaluation, source, request.units);
    doses.referenceUncertainty =
        readUncertainties(doses.reference, request.reference, request, source);
    doses.evaluationUncertainty =
        readUncertainties(doses.evaluation, request.evaluation, request, source);
    settleUnits(doses, request);
    checkDoses(doses, request);
    addWarnings(warnings, doses, !source.isDiscreet());
    doses.placed = placeDoses(doses.reference, doses.evaluation, request.plane);
    warnings.insert(warnings.end(), doses.placed.warnings.begin(), doses.placed.warnings.end());
    setPercentages(doses, request);
    checkSettings(request, doses.placed.space);
    makeThin(doses, smallestStep(request));
    return doses;
}

ComparedDoses comparedDoses(GivenDoses doses, const NormalisationRequest& request)
{
    const DoseExtremes ofReference = extremesOf(doses.reference);
    const DoseExtremes ofEvaluation = extremesOf(doses.evaluation);
    const std::optional<double> asked =
        normalisationDose(request, doses.reference, ofEvaluation, doses.placed.space);
    return {std::move(doses), ofReference, ofEvaluation, asked.value_or(ofReference.maximum)};
}

GammaSettings searchSettings(const Request& request, const ComparedDoses& doses)
{
    GammaSettings settings = request.settings;
    if (request.normalisation.isGiven() || !request.structures.within.empty() ||
        arePoints(doses.placed.space)) {
        settings.normalisation = doses.normalisation;
    }
    return settings;
}

} // namespace zarngi
