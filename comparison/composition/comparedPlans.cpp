#include "comparison/composition/comparedPlans.h"

#include <algorithm>
#include <utility>

namespace zarngi
{

namespace
{

constexpr const char* leftOut = "; nothing of it is told. Give the plan of these doses";

/** Of all files of doses that say something of themselves. */
std::vector<const DoseImage*> describedDoses(const GivenDoses& doses)
{
    std::vector<const DoseImage*> all = doses.all();
    std::erase_if(all, [](const DoseImage* dose) { return !dose->dicom; });
    return all;
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

/** Whether a plan is that of the doses, as far as they tell. */
bool belongs(const files::Plan& plan, const std::vector<const DoseImage*>& doses,
             std::vector<Sentence>& warnings)
{
    const Sentence file(FileName{plan.path});
    for (const DoseImage* const dose : doses) {
        if (isOfAnotherPatient(plan, *dose->dicom)) {
            warnings.push_back(file + ": is a plan of another patient than " +
                               FileName{dose->path} + " (Patient ID)" + leftOut);
            return false;
        }
    }
    bool isPlanTold = false;
    for (const DoseImage* const dose : doses) {
        if (refersTo(*dose->dicom, plan)) {
            return true;
        }
        isPlanTold = isPlanTold || !dose->dicom->plans.empty();
    }
    if (isPlanTold) {
        warnings.push_back(file +
                           ": is not the plan that the doses refer to (Referenced RT Plan "
                           "Sequence)" +
                           leftOut);
        return false;
    }
    warnings.push_back(file + ": no dose tells its plan, so whether this is theirs is not known");
    return true;
}

} // namespace

std::vector<ComparedPlan> comparedPlans(const Request& request, DoseSource& source,
                                        const GivenDoses& doses, std::vector<Sentence>& warnings)
{
    const std::vector<const DoseImage*> described = describedDoses(doses);
    std::vector<ComparedPlan> plans;
    for (const std::string& name : request.plans) {
        files::Plan plan = source.plan(name);
        for (const std::string& warning : plan.warnings) {
            warnings.push_back(Sentence(FileName{plan.path}) + ": " + warning);
        }
        const bool isTheirs = belongs(plan, described, warnings);
        plans.push_back({std::move(plan), isTheirs});
    }
    return plans;
}

} // namespace zarngi
