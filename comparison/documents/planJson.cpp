#include "comparison/documents/planJson.h"

#include <utility>

namespace zarngi
{

namespace
{

Json beamsJson(const std::vector<files::PlanBeam>& beams)
{
    Json list = Json::array();
    for (const files::PlanBeam& beam : beams) {
        list.push_back({{"number", beam.number},
                        {"name", beam.name},
                        {"machine", beam.machine},
                        {"isTreatment", beam.isTreatment},
                        {"isocentres", beam.isocentres}});
    }
    return list;
}

Json prescriptionsJson(const std::vector<files::PlanPrescription>& prescriptions)
{
    Json list = Json::array();
    for (const files::PlanPrescription& prescription : prescriptions) {
        list.push_back({{"dose", prescription.dose}, {"target", prescription.target}});
    }
    return list;
}

} // namespace

Json planJson(const files::Plan& plan, bool showPatient)
{
    Json json = {{"label", plan.label},
                 {"prescriptions", prescriptionsJson(plan.prescriptions)},
                 {"fractions", plan.fractions},
                 {"beams", beamsJson(plan.beams)},
                 {"frameOfReference", plan.frameOfReference},
                 {"sopInstance", plan.sopInstance},
                 {"origins", plan.origins}};
    if (showPatient) {
        for (const auto& [name, text] :
             {std::pair("name", &plan.name), std::pair("description", &plan.description),
              std::pair("seriesDescription", &plan.seriesDescription),
              std::pair("date", &plan.date), std::pair("approval", &plan.approval),
              std::pair("reviewDate", &plan.reviewDate), std::pair("reviewer", &plan.reviewer),
              std::pair("patientName", &plan.patientName),
              std::pair("patientId", &plan.patientId)}) {
            json[name] = *text;
        }
    }
    return json;
}

} // namespace zarngi
