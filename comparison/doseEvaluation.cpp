#include "comparison/doseEvaluation.h"

#include <utility>

#include "comparison/composition/chosenStructures.h"
#include "comparison/composition/comparedPlans.h"
#include "comparison/composition/doseChecks.h"
#include "comparison/composition/gateChecks.h"
#include "comparison/composition/presentStructures.h"
#include "comparison/failure.h"
#include "comparison/text.h"

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

/** What is asked of one dose; of a protocol's goals those that are not of two. */
Request partOfOneDose(const Request& asked, std::vector<Sentence>& warnings)
{
    Request request;
    request.protocol = asked.protocol;
    request.reference = asked.reference;
    request.structures = asked.structures;
    request.structures.within.clear();
    request.goals = asked.goals;
    request.units = asked.units;
    request.allowErrorDoses = asked.allowErrorDoses;
    request.refuse = asked.refuse;
    request.plans = asked.plans;
    request.identify = asked.identify;
    request.header = asked.header;
    request.settings.threads = asked.settings.threads;
    request.commandLine = asked.commandLine;
    if (asked.protocol.name.empty()) {
        return request;
    }
    std::erase_if(request.goals, [&](const Goal& goal) {
        if (goal.isOfDifference()) {
            warnings.push_back(Sentence("\"") + oneLine(goal.text) +
                               "\" is of two doses, so it is left out");
        }
        return goal.isOfDifference();
    });
    return request;
}

} // namespace

DoseEvaluation evaluate(Request asked, DoseSource& source)
{
    DoseEvaluation result;
    Request request = partOfOneDose(asked, result.warnings);
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
    result.plans = comparedPlans(request, source, {&result.dose}, result.warnings);
    checkPatients(result.gate, request.refuse, {{&result.dose}, catalogue.get(), result.plans});
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
    result.asked = std::move(asked);
    return result;
}

} // namespace zarngi
