#include "cli/commands/compareOptions.h"

#include <algorithm>

#include "cli/commands/requestFile.h"
#include "comparison/failure.h"
#include "comparison/parallel.h"
#include "comparison/request/values.h"

namespace zarngi
{

namespace
{

/** Replaces a member of a request by what was given. */
template <class Value> void replace(Value& member, const Value& given)
{
    if (!given.empty()) {
        member = given;
    }
}

void replace(bool& member, bool given)
{
    member = member || given;
}

template <class Value, class Given> void replaceBy(Value& member, const std::optional<Given>& given)
{
    if (given) {
        member = *given;
    }
}

void readUncertainties(Request& request, const CompareOptions& options)
{
    if (!options.referenceUncertainty.empty()) {
        request.reference.uncertainty =
            parseUncertainty({Member::referenceUncertainty}, options.referenceUncertainty);
    }
    if (!options.evaluationUncertainty.empty()) {
        request.evaluation.uncertainty =
            parseUncertainty({Member::evaluationUncertainty}, options.evaluationUncertainty);
    }
    if (!options.uncertaintyUnit.empty()) {
        request.uncertaintyUnit = parseUncertaintyUnit(options.uncertaintyUnit);
    }
}

void readDose(DoseRequest& dose, const std::string& file, const std::vector<std::string>& added,
              const std::string& scale, Member scaleMember)
{
    replace(dose.file, file);
    replace(dose.added, added);
    if (!scale.empty()) {
        dose.factor = parseFactor({scaleMember}, scale);
    }
}

void readDoses(Request& request, const CompareOptions& options)
{
    readDose(request.reference, options.reference, options.referenceAdded, options.referenceScale,
             Member::referenceScale);
    readDose(request.evaluation, options.evaluation, options.evaluationAdded,
             options.evaluationScale, Member::evaluationScale);
    const PlaneRequest plane = parsePlane(options.plane, options.at);
    replaceBy(request.plane.plane, plane.plane);
    replaceBy(request.plane.at, plane.at);
    const files::TableUnits units = options.units.parsed();
    replaceBy(request.units.gray, units.gray);
    replaceBy(request.units.millimetres, units.millimetres);
    replaceBy(request.units.pixelSize, units.pixelSize);
    replace(request.allowErrorDoses, options.allowErrorDoses);
    if (!options.norm.empty()) {
        request.normalisation = parseNormalisation(options.norm);
    }
    if (!options.normAt.empty()) {
        request.normalisation = {};
        request.normalisation.at = parsePosition({Member::normalisationAt}, options.normAt);
    }
}

void readCriteria(Request& request, const CompareOptions& options)
{
    if (!options.criteria.empty()) {
        request.criteria = parseCriteria(options.criteria);
    } else if (options.doseDifference || options.distance || options.isLocal) {
        Criterion single;
        replaceBy(single.doseDifference, options.doseDifference);
        replaceBy(single.distance, options.distance);
        single.isLocal = options.isLocal;
        request.criteria = {{single}};
    }
}

void readSettings(GammaSettings& settings, const CompareOptions& options)
{
    replaceBy(settings.cutOff, options.cutOff);
    replaceBy(settings.maxGamma, options.maxGamma);
    replaceBy(settings.step, options.step);
    replace(settings.passRateOnly, options.passRateOnly);
    replace(settings.nearest, options.nearest);
    replace(settings.slices, options.slices);
    replace(settings.rotate, options.rotate);
    settings.threads = options.threads.value_or(processorCount());
    settings.verbose = options.verbose;
}

void readLimits(LimitRequest& limits, const CompareOptions& options)
{
    const auto read = [](StructureLimits& limit, Member member,
                         const std::vector<std::string>& texts) {
        if (!texts.empty()) {
            limit = StructureLimits(member, texts);
        }
    };
    read(limits.tolerance, Member::tolerance, options.tolerance);
    read(limits.action, Member::action, options.action);
    read(limits.failBelow, Member::failBelow, options.failBelow);
}

void readStructures(StructureRequest& request, const CompareOptions& options)
{
    replace(request.files, options.structures);
    replace(request.shown, options.shown);
    replace(request.excluded, options.excluded);
    replace(request.within, options.within);
    replace(request.metrics, parseDoseMetrics(options.metrics));
    replaceBy(request.prescription, options.prescription);
    replace(request.ignoreFrame, options.ignoreFrame);
    replace(request.ifPresent, options.ifPresent);
}

void readFindings(Request& request, const CompareOptions& options)
{
    if (options.explain) {
        request.explanation = ExplanationWish{{}, options.explainStructure};
        if (options.explainRange) {
            request.explanation->range = explanationRange(*options.explainRange);
        }
    }
    std::vector<CriterionRange> sweeps;
    for (std::size_t i = 0; i < options.sweeps.size(); ++i) {
        sweeps.push_back(parseCriterionRange(options.sweeps[i], {Member::sweeps, i}));
    }
    replace(request.sweeps, sweeps);
    if (options.noise) {
        request.noise.emplace();
        if (options.noiseSeed) {
            request.noise->seed = noiseSeed(*options.noiseSeed);
        }
    }
}

void checkFiles(const Request& request)
{
    for (const auto& [file, member] : {std::pair(&request.reference.file, Member::reference),
                                       std::pair(&request.evaluation.file, Member::evaluation)}) {
        if (file->empty()) {
            throw UsageError({member},
                             Sentence(member) + " is required (zarngi --help tells more)");
        }
    }
}

} // namespace

Request CompareOptions::request() const
{
    Request request = !protocol.empty()      ? readProtocol(protocol)
                      : !requestFile.empty() ? readRequest(requestFile)
                                             : Request();
    readCriteria(request, *this);
    readDoses(request, *this);
    readSettings(request.settings, *this);
    readLimits(request.limits, *this);
    replace(request.goals, parseGoals(goals));
    readStructures(request.structures, *this);
    readUncertainties(request, *this);
    readFindings(request, *this);
    replace(request.refuse, parseGates(refuse));
    replace(request.plans, plans);
    replace(request.identify, identify);
    request.header.replaceBy(parseHeader(header));
    request.commandLine = commandLine;
    checkFiles(request);
    return request;
}

Request CompareOptions::requestOfOneDose() const
{
    Request request = protocol.empty() ? Request() : readProtocol(protocol);
    request.reference.file = reference;
    readStructures(request.structures, *this);
    replace(request.goals, parseGoals(goals));
    replace(request.allowErrorDoses, allowErrorDoses);
    replace(request.plans, plans);
    replace(request.identify, identify);
    request.header.replaceBy(parseHeader(header));
    request.settings.threads = processorCount();
    request.commandLine = commandLine;
    return request;
}

files::TableUnits UnitOptions::parsed() const
{
    files::TableUnits units = parseUnits(dose, length);
    units.pixelSize = pixelSize;
    return units;
}

void checkOutputs(const CompareOptions& options, const Request& request)
{
    const OutputNames& outputs = options.outputs;
    if (!outputs.report.empty() && request.settings.passRateOnly) {
        throw UsageError("--report needs gamma values, which --pass-rate-only does not compute");
    }
    outputs.checkFormats();
    std::vector<std::string> inputs = request.files();
    inputs.insert(inputs.end(), {options.requestFile, options.protocol});
    std::erase(inputs, "");
    outputs.checkFiles(inputs, request.criteriaToCompute());
}

} // namespace zarngi
