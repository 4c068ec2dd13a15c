#include "comparison/request/request.h"

#include <algorithm>
#include <array>
#include <utility>

#include "comparison/failure.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

CriterionRequest parseOne(const std::string& text, const MemberPlace& place)
{
    const ForStructures split = splitAtLastColon(text);
    CriterionRequest request{parseCriterion(split.text, place)};
    if (!split.pattern.empty()) {
        request.patterns.push_back(split.pattern);
    } else if (split.text != text) {
        throw refusalOf(place, Sentence("\"") + oneLine(text) + "\" names no structure");
    }
    return request;
}

void add(std::vector<CriterionRequest>& requests, CriterionRequest request,
         const MemberPlace& place)
{
    for (CriterionRequest& earlier : requests) {
        if (earlier.criterion.label() != request.criterion.label() ||
            earlier.patterns.empty() != request.patterns.empty()) {
            continue; // one for everything has another verdict than one for structures
        }
        if (request.patterns.empty()) {
            throw refusalOf(place, request.criterion.label() + " is given twice");
        }
        earlier.patterns.push_back(request.patterns.front());
        return;
    }
    requests.push_back(std::move(request));
}

struct StructureNeed {
    bool isGiven;
    Member member;
    const char* what; ///< of the member, that makes no sense without structures
};

/** What makes no sense without structures, or nothing. */
std::optional<StructureNeed> structureNeedOf(const Request& request)
{
    constexpr const char* forOne = " for a structure";
    const StructureRequest& structures = request.structures;
    const bool hasPattern =
        std::any_of(request.criteria.begin(), request.criteria.end(),
                    [](const CriterionRequest& asked) { return !asked.patterns.empty(); });
    const std::array<StructureNeed, 12> needs{
        {{!structures.shown.empty(), Member::shown, ""},
         {!structures.excluded.empty(), Member::excluded, ""},
         {!structures.within.empty(), Member::within, ""},
         {!structures.metrics.empty(), Member::metrics, ""},
         {structures.prescription.has_value(), Member::prescription, ""},
         {structures.ignoreFrame, Member::ignoreFrame, ""},
         {!request.goals.empty(), Member::goals, ""},
         {request.explanation && !request.explanation->structure.empty(), Member::explainStructure,
          ""},
         {hasPattern, Member::criteria, forOne},
         {request.limits.tolerance.namesStructures(), Member::tolerance, forOne},
         {request.limits.action.namesStructures(), Member::action, forOne},
         {request.limits.failBelow.namesStructures(), Member::failBelow, forOne}}};
    // What may be absent is left out where the structures are looked up.
    const auto mayBeAbsent = [&](const StructureNeed& need) {
        return structures.ifPresent && need.member != Member::within &&
               need.member != Member::explainStructure;
    };
    const auto found = std::find_if(needs.begin(), needs.end(), [&](const StructureNeed& need) {
        return need.isGiven && !mayBeAbsent(need);
    });
    return found != needs.end() ? std::optional(*found) : std::nullopt;
}

void checkStructures(const Request& request)
{
    const std::vector<std::string>& files = request.structures.files;
    for (std::size_t i = 0; i < files.size(); ++i) {
        const auto place = files.begin() + static_cast<std::ptrdiff_t>(i);
        if (std::find(files.begin(), place, *place) != place) {
            throw refusalOf({Member::structureFiles, i},
                            Sentence(FileName{*place}) + " is given twice");
        }
    }
    const std::optional<StructureNeed> need = structureNeedOf(request);
    if (files.empty() && need) {
        throw UsageError({need->member},
                         Sentence(need->member) + need->what + " needs " + Member::structureFiles);
    }
}

void checkGoals(const Request& request)
{
    for (std::size_t i = 0; i < request.goals.size(); ++i) {
        const Goal& goal = request.goals[i];
        if (goal.needsPrescription() && !request.structures.prescription) {
            throw refusalOf({Member::goals, i}, Sentence("\"") + oneLine(goal.text) + "\" needs " +
                                                    Member::prescription);
        }
    }
}

/** Files of uncertainties, whose values mean nothing without their unit. */
void checkUncertainties(const Request& request)
{
    const bool isFile =
        request.reference.uncertainty.isFile() || request.evaluation.uncertainty.isFile();
    const Member file = request.reference.uncertainty.isFile() ? Member::referenceUncertainty
                                                               : Member::evaluationUncertainty;
    if (isFile && !request.uncertaintyUnit) {
        throw UsageError({Member::uncertaintyUnit},
                         Sentence(file) + " FILE needs " + Member::uncertaintyUnit +
                             ": percent or fraction of each dose, or gray");
    }
}

} // namespace

Limits LimitRequest::general() const
{
    Limits limits;
    limits.tolerance = tolerance.general().value_or(limits.tolerance);
    limits.action = action.general().value_or(limits.action);
    return limits;
}

std::string CriterionRequest::label() const
{
    std::string text;
    for (const std::string& pattern : patterns) {
        text += (text.empty() ? "" : ",") + pattern;
    }
    return text + (text.empty() ? "" : ":") + criterion.label();
}

Request::Request() = default;
Request::Request(const Request& other) = default;
Request::Request(Request&& other) noexcept = default;
Request& Request::operator=(const Request& other) = default;
Request& Request::operator=(Request&& other) noexcept = default;
Request::~Request() = default;

std::vector<Criterion> Request::criteriaToCompute() const
{
    std::vector<Criterion> list;
    for (const CriterionRequest& asked : criteria) {
        list.push_back(asked.criterion);
    }
    return list;
}

std::vector<CriterionRequest> Request::searchedCriteria() const
{
    return hasOnlyFindings ? std::vector<CriterionRequest>() : criteria;
}

std::vector<std::string> Request::files() const
{
    std::vector<std::string> paths{reference.file, evaluation.file};
    for (const std::vector<std::string>* const more :
         {&reference.added, &evaluation.added, &structures.files}) {
        paths.insert(paths.end(), more->begin(), more->end());
    }
    for (const DoseRequest* const dose : {&reference, &evaluation}) {
        if (dose->uncertainty.isFile()) {
            paths.push_back(dose->uncertainty.text);
        }
    }
    paths.insert(paths.end(), plans.begin(), plans.end());
    return paths;
}

std::vector<CriterionRequest> parseCriteria(const std::vector<std::string>& texts)
{
    std::vector<CriterionRequest> requests;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const MemberPlace place{Member::criteria, i};
        add(requests, parseOne(texts[i], place), place);
    }
    return requests;
}

std::vector<std::string> textsOf(const std::vector<CriterionRequest>& criteria)
{
    std::vector<std::string> texts;
    for (const CriterionRequest& asked : criteria) {
        const Criterion& criterion = asked.criterion;
        const std::string text = exactNumber(criterion.doseDifference) +
                                 (criterion.isLocal ? "%L/" : "%/") +
                                 exactNumber(criterion.distance) + "mm";
        if (asked.patterns.empty()) {
            texts.push_back(text);
        }
        for (const std::string& pattern : asked.patterns) {
            texts.push_back(std::string(pattern).append(":").append(text));
        }
    }
    return texts;
}

void clearFiles(Request& request)
{
    for (DoseRequest* const dose : {&request.reference, &request.evaluation}) {
        dose->file.clear();
        dose->added.clear();
        if (dose->uncertainty.isFile()) {
            dose->uncertainty = {};
        }
    }
    request.structures.files.clear();
    request.plans.clear();
}

void checkRequest(const Request& request)
{
    const Limits limits = request.limits.general();
    if (limits.action > limits.tolerance) {
        throw UsageError({Member::action}, Sentence(Member::action) + " " + number(limits.action) +
                                               " is above " + Member::tolerance + " " +
                                               number(limits.tolerance));
    }
    if (request.explanation && request.settings.rotate) {
        throw UsageError({Member::rotate},
                         Sentence(Member::explain) +
                             " needs one search lattice for all computations, which " +
                             Member::rotate + " does not give");
    }
    if (request.noise && request.settings.rotate) {
        throw UsageError({Member::rotate},
                         Sentence(Member::noise) +
                             " needs one search lattice for all computations, which " +
                             Member::rotate + " does not give");
    }
    checkUncertainties(request);
    checkStructures(request);
    checkGoals(request);
}

} // namespace zarngi
