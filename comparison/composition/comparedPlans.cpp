#include "comparison/composition/comparedPlans.h"

#include <algorithm>
#include <string>
#include <utility>

namespace zarngi
{

namespace
{

/** Of all files of doses that say something of themselves. */
std::vector<const DoseImage*> describedDoses(std::vector<const DoseImage*> doses)
{
    std::erase_if(doses, [](const DoseImage* dose) { return !dose->dicom; });
    return doses;
}

bool isOfAnotherPatient(const files::Plan& plan, const DicomIdentity& dose)
{
    return !plan.patientId.empty() && !dose.patientId.empty() && plan.patientId != dose.patientId;
}

bool refersTo(const DicomIdentity& dose, const files::Plan& plan)
{
    return std::any_of(
        dose.plans.begin(), dose.plans.end(), [&](const files::ReferencedPlan& referenced) {
            return !plan.sopInstance.empty() && referenced.sopInstance == plan.sopInstance;
        });
}

/** Whether a plan of the right patient is that of the doses, as far as they tell. */
bool isTheirs(const files::Plan& plan, const std::vector<const DoseImage*>& doses,
              std::vector<Sentence>& warnings)
{
    bool isPlanTold = false;
    for (const DoseImage* const dose : doses) {
        if (refersTo(*dose->dicom, plan)) {
            return true;
        }
        isPlanTold = isPlanTold || !dose->dicom->plans.empty();
    }
    const Sentence file(FileName{plan.path});
    warnings.push_back(
        isPlanTold ? file + ": is not the plan that the doses refer to (Referenced RT Plan "
                            "Sequence), and nothing of it is told; give the plan of these doses"
                   : file + ": no dose tells its plan, so whether this is theirs is not known");
    return !isPlanTold;
}

ComparedPlan comparedPlan(files::Plan plan, const std::vector<const DoseImage*>& doses,
                          std::vector<Sentence>& warnings)
{
    for (const std::string& warning : plan.warnings) {
        warnings.push_back(Sentence(FileName{plan.path}) + ": " + warning);
    }
    ComparedPlan compared;
    compared.isOfOtherPatient = std::any_of(doses.begin(), doses.end(), [&](const DoseImage* dose) {
        return isOfAnotherPatient(plan, *dose->dicom);
    });
    compared.isOfDoses = !compared.isOfOtherPatient && isTheirs(plan, doses, warnings);
    compared.plan = std::move(plan);
    return compared;
}

/** The plans that doses refer to, from the folders in which these lie. */
std::vector<files::Plan> plansBeside(const std::vector<const DoseImage*>& doses, DoseSource& source)
{
    std::vector<files::Plan> plans;
    std::vector<std::string> wanted;
    for (const DoseImage* const dose : doses) {
        for (const files::ReferencedPlan& referenced : dose->dicom->plans) {
            const std::string& plan = referenced.sopInstance;
            if (plan.empty() || std::find(wanted.begin(), wanted.end(), plan) != wanted.end()) {
                continue;
            }
            wanted.push_back(plan);
            if (std::optional<files::Plan> found = source.planBeside(dose->path, plan)) {
                plans.push_back(std::move(*found));
            }
        }
    }
    return plans;
}

} // namespace

std::vector<ComparedPlan> comparedPlans(const Request& request, DoseSource& source,
                                        const std::vector<const DoseImage*>& doses,
                                        std::vector<Sentence>& warnings)
{
    const std::vector<const DoseImage*> described = describedDoses(doses);
    std::vector<files::Plan> plans;
    for (const std::string& name : request.plans) {
        plans.push_back(source.plan(name));
    }
    if (plans.empty() && request.identify) {
        plans = plansBeside(described, source);
    }
    std::vector<ComparedPlan> compared;
    for (files::Plan& plan : plans) {
        compared.push_back(comparedPlan(std::move(plan), described, warnings));
    }
    return compared;
}

} // namespace zarngi
