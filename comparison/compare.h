/**
 * @file compare.h
 * A comparison from its request to its results: the one way, whatever the host.
 */
#ifndef ZARNGI_COMPARISON_COMPARE_H
#define ZARNGI_COMPARISON_COMPARE_H

#include <functional>
#include <memory>
#include <vector>

#include "comparison/comparison.h"
#include "comparison/doseSource.h"
#include "comparison/partSearch.h"

namespace zarngi
{

/** Gives who is told of the search for a criterion, and lives as long as that. */
using WatchFor = std::function<WatchSearch(const Criterion&)>;

/** Gives who is told the part of a long work that is done, 0 to 1, and ends it by false. */
using WatchWork = std::function<std::function<bool(double)>(const std::string& title)>;

/** Who is told what; each may be empty. */
struct Watchers {
    WatchFor search{};
    WatchWork work{}; ///< explanation, rates by criterion and without noise
    /** What is going to be computed, before it is: without results. What it throws ends all. */
    std::function<void(const Comparison&)> prepared{};
    /**
     * A result when it is there, whose maps may be taken from it: without noise that is estimated,
     * only documents ask for them.
     */
    std::function<void(const Comparison&, CriterionResult&)> found{};
};

/**
 * Reads, puts together, places and compares two doses. The library holds one environment: one
 * comparison at a time.
 * @throws UsageError for a request that makes no sense, InputError for what cannot be compared
 */
Comparison compare(const Request& request, DoseSource& source, const Watchers& watchers = {});

class Searches;

/**
 * A comparison whose searches the host makes one by one, so that the parts of a large one may be
 * made elsewhere.
 */
class ComparisonInSteps
{
public:
    /** Reads, puts together and places. @throws as compare() */
    ComparisonInSteps(const Request& request, DoseSource& source, Watchers watchers);
    ~ComparisonInSteps();
    ComparisonInSteps(const ComparisonInSteps&) = delete;
    ComparisonInSteps& operator=(const ComparisonInSteps&) = delete;

    /** The criterion whose search is next; null: all were made. */
    const Criterion* next() const;

    /** Makes the next search. @throws InputError */
    void search();

    /**
     * The next search, which the host makes by its parts, and then hands over; null for points,
     * each of which is a search of its own.
     */
    std::unique_ptr<GammaSearch> searchByParts() const;
    void take(std::unique_ptr<GammaSearch> made);

    /** What one part of the next search depends on. */
    SearchPart partOf(const GammaSearch& search, PlaneRange tested) const;
    const DoseImage& searchedReference() const;
    const DoseImage& evaluation() const { return comparison_.evaluation; }

    /** When all searches were made: all else. @throws InputError */
    Comparison finish();

private:
    void add(CriterionResult result);

    Watchers watchers_;
    Comparison comparison_;
    std::vector<CriterionRequest> asked_;
    std::vector<CriterionResult> results_;
    std::unique_ptr<Searches> searches_;
};

/** What another criterion finds in the doses of a comparison. @throws InputError */
CriterionResult comparedBy(const Criterion& criterion, const Comparison& comparison);

} // namespace zarngi

#endif
