#include "comparison/documents/headerJson.h"

#include <algorithm>
#include <string>
#include <vector>

#include "comparison/documents/doseJson.h"
#include "comparison/documents/json.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

using files::Plan;
using files::PlanBeam;

/** Texts that differ, each once. */
class Texts
{
public:
    explicit Texts(const char* separator) : separator_(separator) {}

    void add(const std::string& text)
    {
        if (!text.empty() && std::find(texts_.begin(), texts_.end(), text) == texts_.end()) {
            texts_.push_back(text);
        }
    }

    std::size_t count() const { return texts_.size(); }

    std::string joined() const
    {
        std::string all;
        for (const std::string& text : texts_) {
            all += (all.empty() ? "" : separator_) + text;
        }
        return all;
    }

private:
    const char* separator_;
    std::vector<std::string> texts_;
};

/** "20261126" as "2026-11-26"; else as it stands. */
std::string dateOf(const std::string& date)
{
    const bool isDate = date.size() == 8 && date.find_first_not_of("0123456789") == date.npos;
    return isDate ? date.substr(0, 4) + "-" + date.substr(4, 2) + "-" + date.substr(6) : date;
}

/** "Family^Given^Middle=..." as "Family, Given Middle". */
std::string personOf(const std::string& name)
{
    std::string text;
    std::size_t place = 0;
    for (const char c : name.substr(0, name.find('='))) {
        text += c == '^' ? (place++ == 0 ? ", " : " ") : std::string(1, c);
    }
    while (!text.empty() && (text.back() == ' ' || text.back() == ',')) {
        text.pop_back();
    }
    return text;
}

std::string planTitle(const Plan& plan)
{
    const bool hasBoth = !plan.label.empty() && !plan.name.empty() && plan.label != plan.name;
    return hasBoth              ? plan.label + " (" + plan.name + ")"
           : plan.label.empty() ? plan.name
                                : plan.label;
}

/** Whether a dose is of all beams of a plan, or of this one. */
bool isOfBeam(const HeaderFiles& files, const Plan& plan, const PlanBeam& beam)
{
    bool isNamed = false;
    for (const DoseImage* const dose : files.doses) {
        for (const files::ReferencedPlan& referenced :
             dose->dicom ? dose->dicom->plans : std::vector<files::ReferencedPlan>()) {
            if (referenced.sopInstance != plan.sopInstance) {
                continue;
            }
            const std::vector<std::int32_t>& beams = referenced.beams;
            if (beams.empty() ||
                std::find(beams.begin(), beams.end(), beam.number) != beams.end()) {
                return true;
            }
            isNamed = true;
        }
    }
    return !isNamed;
}

std::string positionText(const Vec3& place)
{
    return number(place[0]) + ", " + number(place[1]) + ", " + number(place[2]) + " mm";
}

/** What is told of beams, gathered over all plans. */
struct BeamTexts {
    Texts names{", "};
    Texts machines{", "};
    Texts isocentres{"; "};
};

/** Whether documents tell of a beam: one that treats, and that a dose is of. */
bool isTold(const HeaderFiles& files, const Plan& plan, const PlanBeam& beam)
{
    return beam.isTreatment && isOfBeam(files, plan, beam);
}

void addBeams(BeamTexts& texts, const HeaderFiles& files, const Plan& plan)
{
    for (const PlanBeam& beam : plan.beams) {
        if (!isTold(files, plan, beam)) {
            continue;
        }
        texts.names.add(std::to_string(beam.number) + (beam.name.empty() ? "" : " ") + beam.name);
        texts.machines.add(beam.machine);
        for (const Vec3& place : beam.isocentres) {
            texts.isocentres.add(positionText(place));
        }
    }
}

/** Whether a plan tells places in the space of the doses. */
bool isInSpaceOf(const Comparison& comparison, const Plan& plan)
{
    const std::optional<DicomIdentity>& dose = comparison.reference.dicom;
    const bool isOther = dose && !dose->frameOfReference.empty() &&
                         !plan.frameOfReference.empty() &&
                         dose->frameOfReference != plan.frameOfReference;
    return !isOther && !isInPlane(comparison.placed.space);
}

std::string approvalOf(const Plan& plan)
{
    Texts parts(", ");
    parts.add(plan.approval);
    parts.add(dateOf(plan.reviewDate));
    parts.add(personOf(plan.reviewer));
    return parts.joined();
}

std::string prescriptionsOf(const Plan& plan)
{
    Texts texts("; ");
    for (const files::PlanPrescription& prescription : plan.prescriptions) {
        texts.add(number(prescription.dose) + " Gy" +
                  (prescription.target.empty() ? "" : " (" + prescription.target + ")"));
    }
    return texts.joined();
}

std::string fractionsOf(const Plan& plan)
{
    Texts texts(" + ");
    for (const std::int32_t count : plan.fractions) {
        texts.add(std::to_string(count));
    }
    return texts.joined();
}

void addPlans(Header& header, const HeaderFiles& files)
{
    constexpr std::array fields{HeaderField::plan, HeaderField::prescription,
                                HeaderField::fractions, HeaderField::date, HeaderField::approval};
    std::vector<Texts> texts(fields.size(), Texts(" + "));
    BeamTexts beams;
    for (const ComparedPlan& compared : files.plans) {
        if (!compared.isOfDoses) {
            continue;
        }
        const Plan& plan = compared.plan;
        const std::array<std::string, fields.size()> told{planTitle(plan), prescriptionsOf(plan),
                                                          fractionsOf(plan), dateOf(plan.date),
                                                          approvalOf(plan)};
        for (std::size_t i = 0; i < fields.size(); ++i) {
            texts[i].add(told[i]);
        }
        addBeams(beams, files, plan);
    }
    for (std::size_t i = 0; i < fields.size(); ++i) {
        header[fields[i]] = texts[i].joined();
    }
    header[HeaderField::beams] = (texts[0].count() > 1 ? "plan sum: " : "") + beams.names.joined();
    header[HeaderField::machine] = beams.machines.joined();
    header[HeaderField::isocentre] = beams.isocentres.joined();
}

} // namespace

HeaderFiles headerFilesOf(const Comparison& comparison)
{
    return {comparison.all(), comparison.plans};
}

Header headerOf(const HeaderFiles& files)
{
    Texts names(" / ");
    Texts numbers(" / ");
    Texts series(" / ");
    Texts labels(" / ");
    for (const DoseImage* const dose : files.doses) {
        if (dose->dicom) {
            names.add(personOf(dose->dicom->patientName));
            numbers.add(dose->dicom->patientId);
            series.add(dose->dicom->seriesDescription);
            labels.add(dose->dicom->planLabel);
        }
    }
    for (const ComparedPlan& compared : files.plans) {
        if (compared.isOfDoses) {
            names.add(personOf(compared.plan.patientName));
            numbers.add(compared.plan.patientId);
            series.add(compared.plan.seriesDescription);
        }
    }
    Header header;
    addPlans(header, files);
    header[HeaderField::patientName] = names.joined();
    header[HeaderField::patientId] = numbers.joined();
    header[HeaderField::series] = series.joined();
    if (header[HeaderField::plan].empty()) {
        header[HeaderField::plan] = labels.joined();
    }
    return header;
}

std::vector<Vec3> isocentresOf(const Comparison& comparison)
{
    const HeaderFiles files = headerFilesOf(comparison);
    std::vector<Vec3> places;
    for (const ComparedPlan& compared : comparison.plans) {
        if (!compared.isOfDoses || !isInSpaceOf(comparison, compared.plan)) {
            continue;
        }
        for (const PlanBeam& beam : compared.plan.beams) {
            for (const Vec3& place : beam.isocentres) {
                const bool isThere = std::find(places.begin(), places.end(), place) != places.end();
                if (!isThere && isTold(files, compared.plan, beam)) {
                    places.push_back(place);
                }
            }
        }
    }
    return places;
}

Header toldHeader(const HeaderFiles& files, const Request& request, const Disclosure& disclosure)
{
    Header header = disclosure.isIdentified() ? headerOf(files) : Header();
    if (!disclosure.isAnonymous()) {
        header.replaceBy(request.header);
    }
    return header;
}

Json headerJson(const Header& header)
{
    Json json = Json::object();
    for (const HeaderField field : headerFields()) {
        const std::string& text = header[field];
        json[headerFieldName(field)] = text.empty() ? Json() : Json(text);
    }
    return json;
}

Json plansJson(const std::vector<ComparedPlan>& plans, const Disclosure& disclosure)
{
    Json list = Json::array();
    for (const ComparedPlan& compared : plans) {
        const Plan& plan = compared.plan;
        Json file = fileJson(plan.path, plan.dataPath, plan.format, disclosure);
        file["isOfDoses"] = compared.isOfDoses;
        list.push_back(std::move(file));
    }
    return list;
}

} // namespace zarngi
