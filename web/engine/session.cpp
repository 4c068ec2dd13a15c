#include "web/engine/session.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <utility>

#include "comparison/compare.h"
#include "comparison/conversion/conversion.h"
#include "comparison/documents/csv.h"
#include "comparison/documents/doseJson.h"
#include "comparison/documents/headerJson.h"
#include "comparison/documents/json.h"
#include "comparison/documents/protocols.h"
#include "comparison/documents/record.h"
#include "comparison/documents/reportPage.h"
#include "comparison/documents/reportVolume.h"
#include "comparison/documents/requestJson.h"
#include "comparison/documents/selfTestJson.h"
#include "comparison/documents/selfTestPage.h"
#include "comparison/documents/statisticsJson.h"
#include "comparison/documents/structureElements.h"
#include "comparison/example/syntheticDose.h"
#include "comparison/example/syntheticStructures.h"
#include "comparison/failure.h"
#include "comparison/request/values.h"
#include "comparison/selfTest/selfTest.h"
#include "files/encodeVolume.h"
#include "files/structures/writeStructureSet.h"
#include "web/engine/hostScript.h"
#include "web/engine/partJson.h"

namespace engine
{

namespace
{

using zarngi::Json;

zarngi::WatchSearch watchFor(const zarngi::Criterion& criterion)
{
    return [criterion](const zarngi::SearchProgress& progress) {
        tellProgress(criterion, progress);
        return true;
    };
}

std::function<bool(double)> watchWork(const std::string& title)
{
    return [title](double share) {
        tellWork(title, share);
        return true;
    };
}

files::Bytes imageFile(const std::string& name, const zarngi::Image& image)
{
    const auto format = files::volumeFormatOf(name);
    if (!format) {
        throw zarngi::InputError(name + ": does not end in .mha, .nrrd, .nii or .nii.gz");
    }
    files::Result<files::Bytes> file = files::encodeImage(*format, image, scriptDeflate());
    if (!file) {
        throw zarngi::InputError(name + ": " + file.error().sentence);
    }
    return std::move(*file);
}

/** The files that the page keeps, of which it tells the digests. */
class KeptSource : public zarngi::DoseSource
{
public:
    KeptSource(KeptFiles& files, zarngi::FileDigests digests, bool isDiscreet)
        : files_(files), digests_(std::move(digests)), isDiscreet_(isDiscreet)
    {
    }

    zarngi::DoseImage dose(const std::string& name, const files::TableUnits& units) override
    {
        return files_.dose(name, units, isDiscreet_);
    }

    files::StructureSet structures(const std::string& name) override
    {
        return files_.structures(name, isDiscreet_);
    }

    files::Plan plan(const std::string& name) override
    {
        return KeptFiles::plan(name, isDiscreet_);
    }

    zarngi::FileDigests digests() const override { return digests_; }
    bool isDiscreet() const override { return isDiscreet_; }

private:
    KeptFiles& files_;
    zarngi::FileDigests digests_;
    bool isDiscreet_;
};

std::string textOf(const Json& call, const char* name)
{
    return call.at(name).get<std::string>();
}

zarngi::FileDigests digestsOf(const Json& json)
{
    zarngi::FileDigests digests;
    for (const auto& [path, digest] : json.items()) {
        digests[path] = {digest.at("bytes").get<std::uintmax_t>(),
                         digest.at("sha256").get<std::string>()};
    }
    return digests;
}

/** Those that a person has given so far; one that means nothing counts for none. */
files::TableUnits unitsOf(const Json& call)
{
    const auto text = [&call](const std::string& name) {
        const Json* const found = call.follow("/units/" + name);
        return found != nullptr && found->is_string() ? found->get<std::string>() : std::string();
    };
    try {
        files::TableUnits units = zarngi::parseUnits(text("dose"), text("length"));
        const Json* const size = call.follow("/units/pixelSize");
        if (size != nullptr && size->is_number()) {
            units.pixelSize = zarngi::positive({zarngi::Member::pixelSize}, size->get<double>());
        }
        return units;
    } catch (const zarngi::UsageError&) {
        return {};
    }
}

/** Whether nothing is told of the files, and of what they or the header say of a patient. */
bool isAnonymous(const Json& call)
{
    return call.value("anonymous", false);
}

/** Voxels of an answer that is asked for piece by piece. */
constexpr std::size_t piece = std::size_t{1} << 22;

/** What decides the results of a call: all but what documents tell beside them. */
Json decisiveOf(const Json& call, zarngi::Request request)
{
    request.header = {};
    request.identify = false;
    return {zarngi::requestJson(request), call.at("digests"), isAnonymous(call)};
}

/** Null where nothing was tested. */
Json rateJson(const zarngi::GammaStatistics& statistics)
{
    return statistics.tested > 0 ? Json(statistics.passRate) : Json(nullptr);
}

} // namespace

Json Session::answer(const Json& call)
{
    const std::string what = textOf(call, "call");
    output_ = {};
    if (what == "identify") {
        return files_.identify(textOf(call, "path"), unitsOf(call));
    }
    if (what == "forget") {
        files_.forget(textOf(call, "path"));
        return Json::object();
    }
    if (what == "values") {
        return values(call);
    }
    if (what == "request") {
        return request(call);
    }
    if (what == "protocols") {
        return {{"protocols", zarngi::protocolsJson()}};
    }
    if (what == "protocol") {
        return {{"request", zarngi::requestJson(zarngi::shippedProtocol(textOf(call, "name")))}};
    }
    if (what == "compare") {
        return compare(call);
    }
    if (what == "searchElsewhere") {
        return searchedPart(call);
    }
    if (steps_) {
        if (std::optional<Json> answer = step(what, call)) {
            return std::move(*answer);
        }
    }
    if (what == "convert") {
        return convert(call);
    }
    if (what == "example") {
        return example(call);
    }
    if (what == "selfTest") {
        return selfTest(call);
    }
    if (comparison_.results.empty()) {
        throw zarngi::UsageError("nothing has been compared yet");
    }
    if (what == "rates") {
        return rates(call);
    }
    if (what == "volume") {
        return volume(call);
    }
    if (what == "testedGammas") {
        return testedGammas(call);
    }
    if (what == "structure") {
        return structure(call);
    }
    if (what == "gammas") {
        return withOutput(gammas(call.at("criterion").get<std::size_t>()));
    }
    return document(call);
}

/** The request of a text that a person gave, and as a document to save. */
Json Session::request(const Json& call)
{
    const std::string text = textOf(call, "text");
    const zarngi::Request request = zarngi::requestOfText(text);
    zarngi::Request saved = request;
    saved.protocol.sha256.clear(); // that of what it holds
    return withOutput(
        zarngi::toText(zarngi::requestJson(saved), 2) + "\n",
        {{"request", zarngi::requestJson(request)},
         {"isChanged", !request.protocol.sha256.empty() &&
                           request.protocol.sha256 != zarngi::protocolDigest(request)}});
}

/** The answer of a comparison, or how many parts the script is to have searched. */
Json Session::compare(const Json& call)
{
    zarngi::Request request = zarngi::requestOf(call.at("request"));
    request.commandLine = textOf(call, "command");
    Json decisive = decisiveOf(call, request);
    begun_ = call;
    endSteps();
    if (comparison_.results.empty() || decisive != decisive_) {
        begin(request, call);
        decisive_ = std::move(decisive);
        return goOn();
    }
    return compared();
}

void Session::begin(const zarngi::Request& request, const Json& call)
{
    comparison_ = {}; // memory for two comparisons at once may not be there
    maps_.clear();
    searchers_ = 1;
    const std::vector<std::string> paths = request.files();
    files_.use({paths.begin(), paths.end()}, isAnonymous(call));
    KeptSource source(files_, digestsOf(call.at("digests")), isAnonymous(call));
    const auto found = [this](const auto& compared, auto& result) { takeMaps(compared, result); };
    steps_ = std::make_unique<zarngi::ComparisonInSteps>(
        request, source, zarngi::Watchers{watchFor, watchWork, {}, found});
}

/** What a comparison that is under way is asked for; what fails ends it. */
std::optional<Json> Session::step(const std::string& what, const Json& call)
{
    try {
        if (what == "nextPart") {
            return nextPart();
        }
        if (what == "partDoses") {
            return partDoses(call);
        }
        if (what == "takePart") {
            takePart(call);
            return Json::object();
        }
        if (what == "searchPart") {
            search_->search(partOf(call.at("part")).tested, watchFor(search_->criterion()));
            return Json::object();
        }
        if (what == "goOn") {
            steps_->take(std::move(search_));
            return goOn();
        }
    } catch (...) {
        endSteps();
        throw;
    }
    return {};
}

/** Makes all searches but those that the script is to share out. */
Json Session::goOn()
{
    try {
        while (steps_->next() != nullptr) {
            search_ = steps_->searchByParts();
            if (search_ && search_->parts() > 1 && zarngi::canBeHandedOut(search_->settings())) {
                return {{"parts", search_->parts()}};
            }
            if (search_) {
                search_->searchRest(watchFor(search_->criterion()));
                steps_->take(std::move(search_));
            } else {
                steps_->search();
            }
        }
        comparison_ = steps_->finish();
    } catch (...) {
        endSteps();
        throw;
    }
    endSteps();
    comparison_.readSeconds = begun_.at("readSeconds").get<double>();
    return compared();
}

void Session::endSteps()
{
    search_.reset();
    steps_.reset();
}

/** What the search of another part needs; null: all were asked for. */
Json Session::nextPart()
{
    return {{"part", search_->hasNext() ? partJson(steps_->partOf(*search_, search_->next()))
                                        : Json(nullptr)}};
}

Json Session::partDoses(const Json& call)
{
    const zarngi::SearchPart part = partOf(call.at("part"));
    return withOutput(
        Output::lent(call.at("grid") == "reference"
                         ? zarngi::dosesOf(steps_->searchedReference().image, part.ofReference)
                         : zarngi::dosesOf(steps_->evaluation().image, part.ofEvaluation)));
}

void Session::takePart(const Json& call)
{
    zarngi::PartMaps maps;
    maps.gamma.resize(handedBytes(0) / sizeof(float));
    takeHanded(0, maps.gamma.data());
    maps.passed.resize(maps.gamma.size());
    takeHanded(1, maps.passed.data());
    search_->take(partOf(call.at("part")).tested, maps.gamma, maps.passed);
    searchers_ = std::max(searchers_,
                          std::min(begun_.value("helpers", 1), static_cast<int>(search_->parts())));
    tellProgress(
        search_->criterion(),
        {1, 1, static_cast<double>(search_->done()) / static_cast<double>(search_->parts())});
}

/** A part of another engine's search: its gammas, and behind them its verdicts. */
Json Session::searchedPart(const Json& call)
{
    const auto handed = [](int which) {
        files::LargeVector<float> doses(handedBytes(which) / sizeof(float));
        takeHanded(which, doses.data());
        return doses;
    };
    const zarngi::PartMaps maps = zarngi::searched(partOf(call.at("part")), handed(0), handed(1));
    files::LargeVector<unsigned char> both(maps.gamma.size() * sizeof(float) + maps.passed.size());
    std::memcpy(both.data(), maps.gamma.data(), maps.gamma.size() * sizeof(float));
    std::copy(maps.passed.begin(), maps.passed.end(), both.end() - std::ssize(maps.passed));
    return withOutput(std::move(both));
}

/** The answer of a comparison that was made. */
Json Session::compared()
{
    const zarngi::Request request = zarngi::requestOf(begun_.at("request"));
    comparison_.request.header = request.header;
    comparison_.request.identify = request.identify;
    comparison_.request.commandLine = textOf(begun_, "command");
    comparison_.settings.threads = searchers_;
    alias_ = isAnonymous(begun_) ? std::optional(std::string()) : std::nullopt;
    record_ = zarngi::comparisonJson(comparison_, alias_);
    return {{"record", record_},
            {"isBelowLimit", comparison_.isBelowLimit()},
            {"isocentres", zarngi::isocentresOf(comparison_)},
            {"headerOfFiles",
             zarngi::headerJson(zarngi::headerOf(zarngi::headerFilesOf(comparison_)))}};
}

/** Of a large grid, whose maps would leave no room for the next criterion. */
void Session::takeMaps(const zarngi::Comparison& comparison, zarngi::CriterionResult& result)
{
    if (result.gamma.size() > zarngi::largestWhole && !comparison.request.noise &&
        !zarngi::arePoints(comparison.placed.space)) {
        maps_.emplace_back(comparison.reference.image.geometry.size, std::move(result.gamma),
                           std::move(result.passed));
    }
}

Output Session::gammas(std::size_t criterion) const
{
    const zarngi::CriterionResult& result = comparison_.results.at(criterion);
    return maps_.empty() ? Output::lent(result.gamma) : Output(maps_[criterion].gamma());
}

std::vector<std::int16_t> Session::storedGammas(std::size_t criterion) const
{
    const zarngi::CriterionResult& result = comparison_.results.at(criterion);
    return maps_.empty() ? zarngi::storedGammas(result.gamma, result.passed)
                         : maps_[criterion].stored();
}

Json Session::rates(const Json& call)
{
    const zarngi::Criterion criterion = zarngi::parseCriterion(textOf(call, "criterion"));
    // With a map as well: the rate without one may be that of a voxel more.
    const zarngi::CriterionResult found = zarngi::comparedBy(criterion, comparison_);
    Json json = {{"passRate", rateJson(found.statistics)}, {"structures", Json::array()}};
    for (const std::optional<zarngi::StructureGamma>& structure : found.structures) {
        json["structures"].push_back(structure ? rateJson(structure->statistics) : Json(nullptr));
    }
    return json;
}

/** The doses of a file as they are compared, in single precision. */
Json Session::values(const Json& call)
{
    return withOutput(files_.dose(textOf(call, "path"), unitsOf(call)).image.values);
}

/** The voxels of a volume from one on, a piece of them. */
Json Session::volume(const Json& call)
{
    const std::string name = textOf(call, "volume");
    if (name == "inUncertainties") {
        return withOutput(zarngi::pageDifferences(comparison_),
                          {{"decimals", zarngi::uncertaintyDecimals},
                           {"voxels", comparison_.reference.image.values.size()}});
    }
    const zarngi::DoseImage& dose =
        name == "reference" ? comparison_.reference : comparison_.evaluation;
    const int decimals = zarngi::pageDoseDecimals(comparison_);
    return withOutput(zarngi::pageDoses(dose, decimals, call.at("from").get<std::size_t>(), piece),
                      {{"decimals", decimals}, {"voxels", dose.image.values.size()}});
}

/** Gamma where voxels were tested, a piece of it: of a criterion, or with what explains failures.
 */
Json Session::testedGammas(const Json& call)
{
    const Json& criterion = call.at("criterion");
    const auto answer = [&](const TestedMaps& maps) {
        return call.at("part") == "rows"
                   ? withOutput(maps.rows())
                   : withOutput(maps.storedRows(call.at("from").get<std::size_t>(), piece),
                                {{"decimals", zarngi::gammaDecimals}, {"voxels", maps.kept()}});
    };
    const std::array<int, 3>& size = comparison_.reference.image.geometry.size;
    if (criterion.is_null()) {
        const zarngi::GammaMaps& after = comparison_.explanation.value().after;
        return answer({size, after.gamma, after.passed});
    }
    const auto index = criterion.get<std::size_t>();
    const zarngi::CriterionResult& result = comparison_.results.at(index);
    return maps_.empty() ? answer({size, result.gamma, result.passed}) : answer(maps_[index]);
}

Json Session::structure(const Json& call)
{
    const zarngi::StructureRow& row =
        comparison_.structures.value().rows.at(call.at("structure").get<std::size_t>());
    if (call.at("part") == "voxels") {
        return withOutput(zarngi::storedRuns(row.voxels));
    }
    if (!row.chosen.place) {
        return {{"bytes", nullptr}};
    }
    const auto& contours = comparison_.structures->catalogue->structure(*row.chosen.place).contours;
    return contours.empty() ? Json{{"bytes", nullptr}}
                            : withOutput(zarngi::storedContours(contours));
}

Json Session::document(const Json& call)
{
    const std::string name = textOf(call, "document");
    if (name == "record") {
        return withOutput(zarngi::toText(record_, 2) + "\n");
    }
    if (name == "csv") {
        return withOutput(zarngi::comparisonCsv(comparison_, alias_));
    }
    if (name == "page") {
        return withOutput(
            zarngi::reportPage(comparison_, record_, textOf(call, "template"), scriptPacking(),
                               [this](std::size_t criterion) { return storedGammas(criterion); }));
    }
    const auto criterion = call.at("criterion").get<std::size_t>();
    const Output map = gammas(criterion);
    return withOutput(imageFile(textOf(call, "name"), {comparison_.reference.image.geometry,
                                                       files::Values::lent(map.floats())}),
                      {{"label", comparison_.results[criterion].criterion.fileLabel()}});
}

/** A dose as a file of another format, and whether that names a patient. */
Json Session::convert(const Json& call)
{
    zarngi::ConversionRequest request;
    request.output = textOf(call, "name");
    request.like = textOf(call, "like");
    request.scale = textOf(call, "scale");
    request.allowErrorDoses = call.at("allowErrorDoses").get<bool>();
    request.words = {"Patient", "Times"};
    zarngi::Conversion conversion(request);
    conversion.setDose(files_.dose(textOf(call, "path"), unitsOf(call)));
    if (!request.like.empty()) {
        conversion.setStudy(KeptFiles::study(request.like));
    }
    const bool namesPatient = conversion.namesPatient();
    return withOutput(std::move(conversion).file(scriptDeflate()),
                      {{"namesPatient", namesPatient}});
}

Json Session::example(const Json& call)
{
    const std::string part = textOf(call, "part");
    if (part == "structures") {
        auto bytes = files::encodeStructureSet(zarngi::syntheticStructures());
        return withOutput(std::move(*bytes), {{"name", "structures.dcm"}});
    }
    const zarngi::Disturbance disturbance =
        part == "reference" ? zarngi::undisturbed : zarngi::fairVerification;
    const std::string name = part + ".mha";
    return withOutput(imageFile(name, zarngi::syntheticDose(zarngi::demoGeometry(), disturbance)),
                      {{"name", name}});
}

/** Its page; the engine stands for the files of an installation. */
Json Session::selfTest(const Json& call)
{
    const zarngi::SelfTest test = zarngi::selfTest({scriptDeflate()}, watchWork("self-test"));
    const Json& engine = call.at("engine");
    const zarngi::Installation installation{
        textOf(call, "system"),
        "WebAssembly",
        {{"engine.wasm", {engine.at("bytes").get<std::uintmax_t>(), textOf(engine, "sha256")}}}};
    const Json record = zarngi::selfTestJson(test, installation);
    return withOutput(zarngi::selfTestPage(record), {{"record", record}});
}

Json Session::withOutput(Output output, Json answer)
{
    output_ = std::move(output);
    answer["bytes"] = output_.bytes().size();
    return answer;
}

} // namespace engine
