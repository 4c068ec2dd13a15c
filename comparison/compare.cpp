#include "comparison/compare.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>
#include <vector>

#include "comparison/composition/chosenStructures.h"
#include "comparison/composition/comparedDoses.h"
#include "comparison/composition/comparedPlans.h"
#include "comparison/composition/findings.h"
#include "comparison/composition/gateChecks.h"
#include "comparison/composition/presentStructures.h"
#include "comparison/composition/searches.h"

namespace zarngi
{

namespace
{

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/** Warns of files that are others than when the same was asked before. */
void compareDigests(const Request& request, const GivenDoses& doses,
                    const StructureCatalogue* catalogue, const std::vector<ComparedPlan>& plans,
                    const FileDigests& digests, std::vector<Sentence>& warnings)
{
    std::vector<std::string> paths{doses.reference.path, doses.evaluation.path};
    for (const auto* const added : {&doses.referenceAdded, &doses.evaluationAdded}) {
        for (const DoseImage& dose : *added) {
            paths.push_back(dose.path);
        }
    }
    if (catalogue != nullptr) {
        for (const files::StructureSet& set : catalogue->sets()) {
            paths.push_back(set.path);
        }
    }
    for (const auto* const file : {&doses.referenceUncertainty, &doses.evaluationUncertainty}) {
        if (*file) {
            paths.push_back((*file)->path);
        }
    }
    for (const ComparedPlan& compared : plans) {
        paths.push_back(compared.plan.path);
    }
    for (std::size_t i = 0; i < std::min(paths.size(), request.formerDigests.size()); ++i) {
        const std::string& former = request.formerDigests[i];
        const auto digest = digests.find(paths[i]);
        if (digest != digests.end() && !former.empty() && digest->second.sha256 != former) {
            warnings.push_back(Sentence(FileName{paths[i]}) +
                               ": is another file than that of the record (SHA-256)");
        }
    }
}

/** Everything but the results. */
Comparison prepared(Request request, DoseSource& source)
{
    const auto start = std::chrono::steady_clock::now();
    std::vector<Sentence> warnings;
    std::optional<Request> asked;
    if (request.structures.ifPresent && !request.protocol.name.empty()) {
        asked = request;
    }
    leaveOutStructures(request, warnings);
    checkRequest(request);
    GivenDoses given = givenDoses(request, source, warnings);
    std::shared_ptr<const StructureCatalogue> catalogue =
        presentCatalogue(request, source, {&given.reference, &given.evaluation}, warnings);
    std::vector<ComparedPlan> plans = comparedPlans(request, source, given.all(), warnings);
    FileDigests digests = source.digests();
    compareDigests(request, given, catalogue.get(), plans, digests, warnings);
    const double readSeconds = secondsSince(start);
    ComparedDoses doses = comparedDoses(std::move(given), request.normalisation);
    ChosenStructures chosen =
        chosenStructures(std::move(catalogue), request, pairOf(doses), warnings);
    GammaSettings settings = searchSettings(request, doses);
    return {std::move(doses),
            std::move(request),
            settings,
            std::move(digests),
            std::move(chosen.within),
            std::move(chosen.structures),
            std::move(chosen.goals),
            {},
            {},
            {},
            {},
            std::move(warnings),
            {},
            readSeconds,
            source.isDiscreet(),
            std::move(plans),
            std::move(asked)};
}

} // namespace

ComparisonInSteps::ComparisonInSteps(const Request& request, DoseSource& source, Watchers watchers)
    : watchers_(std::move(watchers)), comparison_(prepared(request, source))
{
    checkFindings(comparison_);
    checkDoseGate(comparison_);
    if (watchers_.prepared) {
        watchers_.prepared(comparison_);
    }
    asked_ = comparison_.request.searchedCriteria();
    searches_ = std::make_unique<Searches>(comparison_);
}

ComparisonInSteps::~ComparisonInSteps() = default;

const Criterion* ComparisonInSteps::next() const
{
    return results_.size() < asked_.size() ? &asked_[results_.size()].criterion : nullptr;
}

void ComparisonInSteps::search()
{
    const CriterionRequest& asked = asked_[results_.size()];
    add(searches_->result(asked,
                          watchers_.search ? watchers_.search(asked.criterion) : WatchSearch()));
}

std::unique_ptr<GammaSearch> ComparisonInSteps::searchByParts() const
{
    return arePoints(comparison_.placed.space) ? nullptr : searches_->search(*next());
}

void ComparisonInSteps::take(std::unique_ptr<GammaSearch> made)
{
    GammaMap map = made->finish();
    made.reset();
    checkTested(map, comparison_.settings);
    add(searches_->result(asked_[results_.size()], std::move(map)));
}

void ComparisonInSteps::add(CriterionResult result)
{
    results_.push_back(std::move(result));
    if (watchers_.found) {
        watchers_.found(comparison_, results_.back());
    }
}

SearchPart ComparisonInSteps::partOf(const GammaSearch& search, PlaneRange tested) const
{
    return searchPart(search, comparison_.reference.image.geometry,
                      comparison_.evaluation.image.geometry, tested);
}

const DoseImage& ComparisonInSteps::searchedReference() const
{
    return searches_->searchedReference();
}

Comparison ComparisonInSteps::finish()
{
    checkResultGate(comparison_, results_);
    std::vector<Sweep> sweeps = sweepsOf(comparison_, *searches_, watchers_.work);
    comparison_.explanation = explanationOf(comparison_, *searches_, watchers_.work);
    comparison_.sweeps = std::move(sweeps);
    comparison_.results = std::move(results_);
    addNoiseFindings(comparison_, *searches_, watchers_.work);
    searches_.reset();
    return std::move(comparison_);
}

Comparison compare(const Request& request, DoseSource& source, const Watchers& watchers)
{
    ComparisonInSteps steps(request, source, watchers);
    while (steps.next() != nullptr) {
        steps.search();
    }
    return steps.finish();
}

CriterionResult comparedBy(const Criterion& criterion, const Comparison& comparison)
{
    return Searches(comparison).result({criterion}, {});
}

} // namespace zarngi
