/**
 * @file searches.h
 * The searches of a comparison, one for each criterion, and what they find.
 */
#ifndef ZARNGI_COMPARISON_COMPOSITION_SEARCHES_H
#define ZARNGI_COMPARISON_COMPOSITION_SEARCHES_H

#include <memory>

#include "comparison/compare.h"
#include "comparison/gammaSearch.h"

namespace zarngi
{

/**
 * Judges each structure that the criterion is for, and what is outside of all.
 * @param result with its maps
 * @param comparison with structures, without results
 * @param doses of the whole reference
 */
void judgeStructures(CriterionResult& result, const Comparison& comparison,
                     const CentreDoses& doses);

/** The doses of a comparison as they are searched: in the library's memory. */
class Searches
{
public:
    /** @param comparison without results; stays where it is. @throws InputError */
    explicit Searches(const Comparison& comparison);

    /** @throws InputError as GammaRun::compute */
    CriterionResult result(const CriterionRequest& asked, const WatchSearch& watch);

    /** Of a map that is there. */
    CriterionResult result(const CriterionRequest& asked, GammaMap map) const;

    /** The search for a criterion, to be made in parts. */
    std::unique_ptr<GammaSearch> search(const Criterion& criterion) const;

    GammaRun& run() { return run_; }
    const CentreDoses& centres() const { return centres_; }
    DoseView reference() const { return viewOf(searchedReference().image); }
    const DoseImage& searchedReference() const
    {
        return comparison_.within ? part_ : comparison_.reference;
    }

private:
    GammaMap searched(const Criterion& criterion, const WatchSearch& watch);

    const Comparison& comparison_;
    GammaSettings settings_; ///< of volumes, which may be searched in parts
    DoseImage part_;         ///< the reference where voxels are tested in a part of it alone
    GammaRun run_;
    CentreDoses centres_;
};

} // namespace zarngi

#endif
