#include "cli/output/dvhTable.h"

#include "cli/output/columns.h"
#include "cli/output/goalTable.h"
#include "cli/output/places.h"
#include "cli/output/resultTable.h"
#include "cli/output/structureTable.h"
#include "cli/output/units.h"
#include "comparison/text.h"
#include "platform/paths.h"

namespace zarngi
{

std::string describeDvh(const DoseEvaluation& evaluation)
{
    const DoseImage& dose = evaluation.dose;
    const StructureRequest& asked = evaluation.request.structures;
    std::string text =
        line("dose", oneLine(platform::nameOf(dose.path)) + " (" + dose.format + "), " +
                         describePlaces(dose) + ", maximum " + number(evaluation.extremes.maximum) +
                         unitBehind(dose.unit)) +
        (asked.prescription
             ? line("prescribed", number(*asked.prescription) + unitBehind(dose.unit))
             : std::string()) +
        describeProtocol(evaluation.asked) + "\n" +
        describeDoses(evaluation.structures, asked.metrics, dose.unit);
    if (!evaluation.goals.empty()) {
        text += describeGoals(evaluation.request.goals, evaluation.goals, false);
    }
    return text + describeNotes(evaluation.structures);
}

} // namespace zarngi
