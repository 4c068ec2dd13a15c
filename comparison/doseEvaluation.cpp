#include "comparison/doseEvaluation.h"

#include <utility>

#include "comparison/composition/chosenStructures.h"
#include "comparison/composition/doseChecks.h"
#include "comparison/composition/presentStructures.h"
#include "comparison/failure.h"

namespace zarngi
{

namespace
{

/** Where names that are not there may be left out, none may be left. */
[[noreturn]] void refuseEmptiness(const Request& request)
{
    throw UsageError({Member::structureFiles},
                     request.structures.files.empty()
                         ? Sentence(Member::structureFiles) + " is required"
                         : Sentence(Member::shown) + ": none of these structures is there");
}

} // namespace

DoseEvaluation evaluate(Request request, DoseSource& source)
{
    const Request asked = request;
    DoseEvaluation result;
    checkRequest(request);
    if (request.structures.files.empty()) {
        refuseEmptiness(asked);
    }
    result.dose = source.dose(request.reference.file, request.units);
    if (!request.allowErrorDoses) {
        checkIsDose(result.dose);
    }
    addWarnings(result.warnings, result.dose);
    auto catalogue = presentCatalogue(request, source, {&result.dose}, result.warnings);
    if (!catalogue) {
        refuseEmptiness(asked);
    }
    result.digests = source.digests();
    result.isDiscreet = source.isDiscreet();
    result.extremes = extremesOf(result.dose);
    const double largest = result.extremes.maximum;
    ChosenStructures chosen =
        chosenStructures(std::move(catalogue), request,
                         {result.dose, result.dose, largest, largest}, result.warnings);
    result.structures = std::move(*chosen.structures);
    for (StructureRow& row : result.structures.rows) {
        row.evaluation.reset();
    }
    result.goals = std::move(chosen.goals);
    result.request = std::move(request);
    return result;
}

} // namespace zarngi
