#include "comparison/documents/requestJson.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "comparison/documents/json.h"
#include "comparison/documents/protocols.h"
#include "comparison/failure.h"
#include "comparison/request/values.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

constexpr const char* formatName = "zarngi-request";
constexpr int formatVersion = 3;
constexpr int firstVersion = 1;

template <class Value> Json orNull(const std::optional<Value>& value)
{
    return value ? Json(*value) : Json(nullptr);
}

Json orNull(const std::string& text)
{
    return text.empty() ? Json(nullptr) : Json(text);
}

Json doseJson(const DoseRequest& dose)
{
    return {{"file", orNull(dose.file)},
            {"add", dose.added},
            {"scale", orNull(dose.factor.text)},
            {"uncertainty", orNull(dose.uncertainty.text)}};
}

Json normalisationJson(const NormalisationRequest& request)
{
    return request.isEvaluation ? Json("evaluation") : orNull(request.dose);
}

Json structuresJson(const StructureRequest& request)
{
    std::vector<std::string> metrics;
    for (const DoseMetric& metric : request.metrics) {
        metrics.push_back(metric.text());
    }
    return {{"files", request.files},
            {"show", request.shown},
            {"exclude", request.excluded},
            {"within", orNull(request.within)},
            {"metrics", metrics},
            {"prescription", orNull(request.prescription)},
            {"ignoreFrame", request.ignoreFrame},
            {"ifPresent", request.ifPresent}};
}

Json explanationJson(const std::optional<ExplanationWish>& wish)
{
    return wish ? Json{{"range", orNull(wish->range)}, {"structure", orNull(wish->structure)}}
                : Json(nullptr);
}

Json noiseJson(const std::optional<NoiseWish>& wish)
{
    return wish ? Json{{"seed", wish->seed}} : Json(nullptr);
}

Json unitsJson(const Request& request)
{
    const files::TableUnits& units = request.units;
    Json json = {
        {"dose", units.gray ? Json(*units.gray == 1 ? "Gy" : "cGy") : Json(nullptr)},
        {"length", units.millimetres ? Json(*units.millimetres == 1 ? "mm" : "cm") : Json(nullptr)},
        {"uncertainty",
         request.uncertaintyUnit ? Json(unitName(*request.uncertaintyUnit)) : Json(nullptr)}};
    if (units.pixelSize) { // digests of protocols stay those of versions that did not know it
        json["pixelSize"] = *units.pixelSize;
    }
    return json;
}

/** The fields that are given. */
Json headerTexts(const Header& header)
{
    Json json = Json::object();
    for (const HeaderField field : headerFields()) {
        if (!header[field].empty()) {
            json[headerFieldName(field)] = header[field];
        }
    }
    return json;
}

std::vector<std::string> textsOf(const std::vector<CriterionRange>& sweeps)
{
    std::vector<std::string> texts;
    for (const CriterionRange& range : sweeps) {
        texts.push_back(range.text);
    }
    return texts;
}

/** A refusal of what stands in the document under a name: "structures.within". */
UsageError refusalAt(const std::string& name, const std::string& reason)
{
    return UsageError(name, Sentence("the request's member ") + name + " " + reason);
}

/** An object of a document whose members are taken one after the other. */
class Members
{
public:
    Members(const Json& object, std::string path, int version = formatVersion)
        : object_(object), path_(std::move(path)), version_(version)
    {
        if (!object.is_object()) {
            throw refusalAt(path_, "is no object");
        }
    }

    const Json& member(const char* name)
    {
        const Json* const found = object_.find(name);
        if (found == nullptr) {
            throw refusalAt(pathOf(name), "is missing");
        }
        taken_.emplace_back(name);
        return *found;
    }

    bool has(const char* name) const { return object_.contains(name); }

    Members object(const char* name) { return {member(name), pathOf(name), version_}; }

    void setVersion(int version) { version_ = version; }
    /** Whether documents of this version have what came with another one. */
    bool knows(int version) const { return version_ >= version; }

    bool flag(const char* name)
    {
        const Json& value = member(name);
        if (!value.is_boolean()) {
            throw refusalAt(pathOf(name), "is neither true nor false");
        }
        return value.get<bool>();
    }

    /** Empty for null. */
    std::string text(const char* name)
    {
        const Json& value = member(name);
        if (!value.is_null() && !value.is_string()) {
            throw refusalAt(pathOf(name), "is neither a text nor null");
        }
        return value.is_null() ? std::string() : value.get<std::string>();
    }

    std::vector<std::string> texts(const char* name)
    {
        const Json& list = member(name);
        const bool areTexts =
            list.is_array() &&
            std::all_of(list.begin(), list.end(), [](const Json& one) { return one.is_string(); });
        if (!areTexts) {
            throw refusalAt(pathOf(name), "is no list of texts");
        }
        return list.get<std::vector<std::string>>();
    }

    /** What a person typed where a number belongs is told as if it had been parsed. */
    std::optional<double> number(const char* name, const MemberPlace& place)
    {
        const Json& value = member(name);
        if (value.is_null()) {
            return {};
        }
        if (value.is_string()) {
            throw refusalOf(place, Sentence("\"") + oneLine(value.get<std::string>()) +
                                       "\" is not a number");
        }
        if (!value.is_number()) {
            throw refusalAt(pathOf(name), "is neither a number nor null");
        }
        return value.get<double>();
    }

    std::optional<double> positive(const char* name, const MemberPlace& place)
    {
        const std::optional<double> value = number(name, place);
        return value ? std::optional(zarngi::positive(place, *value)) : value;
    }

    double needed(const char* name, const MemberPlace& place)
    {
        const std::optional<double> value = positive(name, place);
        if (!value) {
            throw refusalAt(pathOf(name), "is null");
        }
        return *value;
    }

    /** %, 0 or more: at 0, all voxels with a dose are tested. */
    double cutOff()
    {
        const MemberPlace place{Member::cutOff};
        const std::optional<double> value = number("cutOff", place);
        return value == 0.0 ? 0.0 : needed("cutOff", place);
    }

    /** mm; empty for null. A text is told as number() tells one. */
    std::vector<double> position(const char* name, const MemberPlace& place, std::size_t least)
    {
        const Json& list = member(name);
        if (list.is_null()) {
            return {};
        }
        if (list.is_string()) {
            throw refusalOf(place, Sentence("\"") + oneLine(list.get<std::string>()) +
                                       "\" is no position like 0,-3.5,10 (mm)");
        }
        const bool isPosition =
            list.is_array() && list.size() >= least && list.size() <= 3 &&
            std::all_of(list.begin(), list.end(), [](const Json& one) { return one.is_number(); });
        if (!isPosition) {
            throw refusalAt(pathOf(name), "is no list of coordinates in mm");
        }
        return list.get<std::vector<double>>();
    }

    /** @throws UsageError where there are others */
    void checkAllTaken() const
    {
        for (const auto& [name, value] : object_.items()) {
            if (std::find(taken_.begin(), taken_.end(), name) == taken_.end()) {
                throw refusalAt(pathOf(oneLine(name)), "is not known to this version");
            }
        }
    }

private:
    std::string pathOf(const std::string& name) const
    {
        return path_.empty() ? name : path_ + "." + name;
    }

    const Json& object_;
    std::string path_;
    int version_;
    std::vector<std::string> taken_;
};

DoseRequest readDose(Members members, Member scale, Member uncertainty)
{
    DoseRequest dose;
    dose.file = members.text("file");
    dose.added = members.texts("add");
    const std::string factor = members.text("scale");
    if (!factor.empty()) {
        dose.factor = parseFactor({scale}, factor);
    }
    if (members.knows(2)) {
        dose.uncertainty = parseUncertainty({uncertainty}, members.text("uncertainty"));
    }
    members.checkAllTaken();
    return dose;
}

NormalisationRequest readNormalisation(Members& members)
{
    NormalisationRequest request;
    if (members.member("normalisation").is_string()) {
        request = parseNormalisation(members.text("normalisation"));
    } else {
        request.dose = members.positive("normalisation", {Member::normalisation});
    }
    request.at = members.position("normalisationAt", {Member::normalisationAt}, 2);
    if (!request.at.empty() && (request.dose || request.isEvaluation)) {
        throw refusalAt(memberName(Member::normalisationAt), "excludes normalisation");
    }
    return request;
}

GammaSettings readSettings(Members& members)
{
    GammaSettings settings;
    settings.cutOff = members.cutOff();
    settings.maxGamma = members.needed("maxGamma", {Member::maxGamma});
    settings.step = members.positive("step", {Member::step});
    settings.passRateOnly = members.flag("passRateOnly");
    settings.nearest = members.flag("nearest");
    settings.slices = members.flag("slices");
    settings.rotate = members.flag("rotate");
    return settings;
}

StructureRequest readStructures(Members members)
{
    StructureRequest request;
    request.files = members.texts("files");
    request.shown = members.texts("show");
    request.excluded = members.texts("exclude");
    request.within = members.text("within");
    request.metrics = parseDoseMetrics(members.texts("metrics"));
    request.prescription = members.positive("prescription", {Member::prescription});
    request.ignoreFrame = members.flag("ignoreFrame");
    request.ifPresent = members.knows(2) && members.flag("ifPresent");
    members.checkAllTaken();
    return request;
}

LimitRequest readLimits(Members members)
{
    LimitRequest limits{StructureLimits(Member::tolerance, members.texts("tolerance")),
                        StructureLimits(Member::action, members.texts("action")),
                        StructureLimits(Member::failBelow, members.texts("failBelow"))};
    members.checkAllTaken();
    return limits;
}

PlaneRequest readPlane(Members members)
{
    PlaneRequest plane = parsePlane(members.text("name"), "");
    const std::vector<double> at = members.position("at", {Member::planeAt}, 3);
    if (!at.empty()) {
        plane.at = Vec3{at[0], at[1], at[2]};
    }
    members.checkAllTaken();
    return plane;
}

void readUnits(Request& request, Members members)
{
    const std::string dose = members.text("dose");
    request.units = parseUnits(dose, members.text("length"));
    if (members.knows(3) && members.has("pixelSize")) {
        request.units.pixelSize = members.positive("pixelSize", {Member::pixelSize});
    }
    if (members.knows(2)) {
        request.uncertaintyUnit = parseUncertaintyUnit(members.text("uncertainty"));
    }
    members.checkAllTaken();
}

std::optional<ExplanationWish> readExplanation(Members& request)
{
    if (request.member("explain").is_null()) {
        return {};
    }
    Members members = request.object("explain");
    ExplanationWish wish;
    if (const auto range = members.number("range", {Member::explainRange})) {
        wish.range = explanationRange(*range);
    }
    wish.structure = members.text("structure");
    members.checkAllTaken();
    return wish;
}

std::optional<NoiseWish> readNoise(Members& request)
{
    if (!request.knows(2) || request.member("noise").is_null()) {
        return {};
    }
    Members members = request.object("noise");
    const std::optional<double> seed = members.number("seed", {Member::noiseSeed});
    members.checkAllTaken();
    return NoiseWish{seed ? noiseSeed(*seed) : NoiseWish().seed};
}

Header readHeader(const Json& object)
{
    if (!object.is_object()) {
        throw refusalAt("header", "is no object");
    }
    Header header;
    for (const auto& [name, value] : object.items()) {
        const std::optional<HeaderField> field = headerFieldOf(name);
        if (!field) {
            throw refusalAt("header." + oneLine(name), "is not known to this version");
        }
        if (!value.is_string()) {
            throw refusalAt("header." + name, "is no text");
        }
        header[*field] = oneLine(value.get<std::string>());
    }
    return header;
}

bool isDigest(const std::string& text)
{
    return text.size() == 64 && text.find_first_not_of("0123456789abcdef") == text.npos;
}

Protocol readProtocol(Members& members)
{
    Protocol protocol{members.text("name"), members.text("version")};
    if (members.knows(3)) {
        protocol.title = oneLine(members.text("title"));
        protocol.source = oneLine(members.text("source"));
        protocol.sha256 = members.text("sha256");
        if (!protocol.sha256.empty() && !isDigest(protocol.sha256)) {
            throw refusalAt("sha256", "is no SHA-256");
        }
    }
    return protocol;
}

void checkFormat(Members& members)
{
    if (members.text("format") != formatName) {
        throw refusalAt("format", std::string("is not ") + formatName);
    }
    const Json& version = members.member("formatVersion");
    const double number = version.is_number_integer() ? version.get<double>() : 0;
    if (number < firstVersion || number > formatVersion) {
        throw refusalAt("formatVersion", "is not one of " + std::to_string(firstVersion) + " to " +
                                             std::to_string(formatVersion) +
                                             ", which this version of the program reads");
    }
    members.setVersion(version.get<int>());
}

} // namespace

Json requestJson(const Request& request)
{
    const GammaSettings& settings = request.settings;
    const PlaneRequest& plane = request.plane;
    return {{"format", formatName},
            {"formatVersion", formatVersion},
            {"name", request.protocol.name},
            {"version", request.protocol.version},
            {"title", request.protocol.title},
            {"source", request.protocol.source},
            {"sha256", request.protocol.sha256},
            {"reference", doseJson(request.reference)},
            {"evaluation", doseJson(request.evaluation)},
            {"criteria", textsOf(request.criteria)},
            {"cutOff", settings.cutOff},
            {"normalisation", normalisationJson(request.normalisation)},
            {"normalisationAt",
             request.normalisation.at.empty() ? Json(nullptr) : Json(request.normalisation.at)},
            {"maxGamma", settings.maxGamma},
            {"step", orNull(settings.step)},
            {"passRateOnly", settings.passRateOnly},
            {"nearest", settings.nearest},
            {"slices", settings.slices},
            {"rotate", settings.rotate},
            {"structures", structuresJson(request.structures)},
            {"limits",
             {{"tolerance", request.limits.tolerance.texts()},
              {"action", request.limits.action.texts()},
              {"failBelow", request.limits.failBelow.texts()}}},
            {"goals", textsOf(request.goals)},
            {"plane",
             {{"name", plane.plane ? Json(plane.plane->name) : Json(nullptr)},
              {"at", orNull(plane.at)}}},
            {"units", unitsJson(request)},
            {"allowErrorDoses", request.allowErrorDoses},
            {"explain", explanationJson(request.explanation)},
            {"sweeps", textsOf(request.sweeps)},
            {"noise", noiseJson(request.noise)},
            {"refuse", textsOf(request.refuse)},
            {"referenceGuessed", request.isReferenceGuessed},
            {"plans", request.plans},
            {"identify", request.identify},
            {"header", headerTexts(request.header)}};
}

Request requestOf(const Json& document)
{
    Members members(document, "");
    checkFormat(members);
    Request request;
    request.protocol = readProtocol(members);
    request.reference =
        readDose(members.object("reference"), Member::referenceScale, Member::referenceUncertainty);
    request.evaluation = readDose(members.object("evaluation"), Member::evaluationScale,
                                  Member::evaluationUncertainty);
    request.criteria = parseCriteria(members.texts("criteria"));
    if (request.criteria.empty()) {
        throw refusalAt("criteria", "is empty");
    }
    request.normalisation = readNormalisation(members);
    request.settings = readSettings(members);
    request.limits = readLimits(members.object("limits"));
    if (members.knows(2)) {
        request.goals = parseGoals(members.texts("goals"));
    }
    request.structures = readStructures(members.object("structures"));
    request.plane = readPlane(members.object("plane"));
    readUnits(request, members.object("units"));
    request.allowErrorDoses = members.flag("allowErrorDoses");
    request.explanation = readExplanation(members);
    request.noise = readNoise(members);
    const std::vector<std::string> sweeps = members.texts("sweeps");
    for (std::size_t i = 0; i < sweeps.size(); ++i) {
        request.sweeps.push_back(parseCriterionRange(sweeps[i], {Member::sweeps, i}));
    }
    if (members.knows(2)) {
        request.refuse = parseGates(members.texts("refuse"));
        request.isReferenceGuessed = members.flag("referenceGuessed");
    }
    if (members.knows(3)) {
        request.plans = members.texts("plans");
        request.identify = members.flag("identify");
        request.header = readHeader(members.member("header"));
    }
    members.checkAllTaken();
    if (!request.protocol.name.empty() && request.protocol.sha256.empty()) {
        request.protocol.sha256 = protocolDigest(request);
    }
    return request;
}

namespace
{

/** Digests that a record tells, in the order of Request::files(). */
std::vector<std::string> digestsOf(const Json& record)
{
    std::vector<std::string> digests;
    const auto addOne = [&](const Json& file) { // null of doses that were no files
        const Json digest = file.value("sha256", Json());
        digests.push_back(digest.is_null() ? std::string() : digest.get<std::string>());
    };
    const auto add = [&](const char* role) { addOne(record.at("files").at(role)); };
    const auto addAll = [&](const char* pointer) {
        if (const Json* const files = record.follow(pointer)) {
            std::for_each(files->begin(), files->end(), addOne);
        }
    };
    const auto addUncertainty = [&](const std::string& role) {
        const Json* const file = record.follow("/doses/" + role + "/uncertainty/file");
        if (file != nullptr && !file->is_null()) {
            addOne(*file);
        }
    };
    add("reference");
    add("evaluation");
    addAll("/doses/reference/added");
    addAll("/doses/evaluation/added");
    addAll("/structures/files");
    addUncertainty("reference");
    addUncertainty("evaluation");
    addAll("/files/plans");
    return digests;
}

Json documentOf(std::string_view text)
{
    try {
        return Json::parse(text);
    } catch (const Json::exception&) {
        throw refusalAt("format", "is missing: this is no JSON document");
    }
}

Request requestOfRecord(const Json& record)
{
    if (!record.contains("request")) {
        throw refusalAt("request", "is missing in this record: it is of a version before 4.3");
    }
    Request request = requestOf(record.at("request"));
    if (request.settings.rotate) {
        throw refusalAt("rotate", "is true: what was turned at random cannot be computed again");
    }
    try {
        if (record.contains("files")) {
            request.formerDigests = digestsOf(record);
        }
    } catch (const Json::exception&) {
        throw refusalAt("files", "is not that of a record");
    }
    return request;
}

} // namespace

Request requestOfText(std::string_view text)
{
    const Json document = documentOf(text);
    const bool isRecord = document.value("format", Json()) == "zarngi-report";
    return isRecord ? requestOfRecord(document) : requestOf(document);
}

} // namespace zarngi
