#include "comparison/explanation/explanation.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "comparison/explanation/changeSearch.h"
#include "comparison/explanation/conclusion.h"
#include "comparison/failure.h"
#include "comparison/gammaStatistics.h"
#include "comparison/structures/structureGamma.h"
#include "libZarnGI.h"

namespace zarngi
{

namespace
{

/** Voxels that a search needs; more of them would not make it more precise. */
constexpr std::size_t mostSearched = 20000;
constexpr std::size_t leastSearched = 100;
/** Voxels from which on a rate among them is as fine as the range of 0.1 percentage points. */
constexpr std::size_t enoughForRates = 5000;

/** First edges of a simplex: three for mm, one for percent. */
constexpr std::array<double, parameterCount> fineEdges{0.5, 0.5, 0.5, 0.4};
constexpr std::array<double, parameterCount> preciseEdges{0.15, 0.15, 0.15, 0.1};

class Explainer
{
public:
    Explainer(GammaEngine& engine, const DoseView& reference, const DoseView& evaluation,
              const ExplanationRequest& request, const WatchExplanation& watch)
        : reference_(reference), evaluation_(evaluation), request_(request), watch_(watch),
          trials_(engine, reference, evaluation, request.criterion, request.step)
    {
        result_.criterion = request.criterion;
        result_.shiftAxes = request.axes;
        result_.within = request.within ? request.within->name : "";
        result_.range = request.range.value_or(defaultRange(request.criterion));
    }

    Explanation run()
    {
        const auto start = std::chrono::steady_clock::now();
        testAll();
        prepare();
        ChangeSearch search(trials_, result_.bounds, watch_, static_cast<double>(all_.size()));
        findAxes(search);
        findChanges(search);
        confirm(search);
        findRanges(search);
        result_.conclusion = conclusionOf(result_);
        result_.cost = trials_.voxelsComputed() / static_cast<double>(all_.size());
        result_.computations = trials_.computations();
        const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - start;
        result_.seconds = duration.count();
        return std::move(result_);
    }

private:
    /** All voxels that could be tested: those of the part that was asked for. */
    VoxelList candidates() const
    {
        VoxelList voxels;
        if (!request_.within) {
            voxels.resize(reference_.values.size());
            for (std::size_t i = 0; i < voxels.size(); ++i) {
                voxels[i] = i;
            }
            return voxels;
        }
        for (const files::Run& run : *request_.within->voxels) {
            const std::size_t first = firstVoxel(reference_.geometry, run);
            for (int x = run.begin; x < run.end; ++x) {
                voxels.push_back(first + static_cast<std::size_t>(x - run.begin));
            }
        }
        return voxels;
    }

    /** The comparison as it is; also finds out which voxels are tested. */
    void testAll()
    {
        all_ = candidates();
        trials_.testWhole(all_);
        trials_.compute({});
        all_ = trials_.tested();
        if (all_.empty()) {
            throw InputError(request_.within ? "nothing to explain: no voxel of " +
                                                   request_.within->name + " is tested"
                                             : "nothing to explain: no voxel is tested");
        }
        result_.tested = all_.size();
        trials_.testWhole(all_);
        result_.before = resultOf({});
    }

    /** What the last computation gives. */
    ChangeResult resultOf(const DoseChange& change) const
    {
        ChangeResult result{change, trials_.passRate(), 0};
        const std::vector<unsigned char>& passed = trials_.maps().passed;
        result.failed =
            static_cast<std::size_t>(std::count(passed.begin(), passed.end(), ZARNGI_FAILED));
        return result;
    }

    /** The bounds of the shifts, and the voxels to search with. */
    void prepare()
    {
        Vec3 bounds{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            bounds[axis] = evaluation_.geometry.size[axis] > 1 ? result_.range : 0;
        }
        ShiftBounds bounded = shiftBounds(reference_.geometry, evaluation_.geometry, all_, bounds,
                                          result_.criterion.distance);
        result_.bounds = bounded.bounds;
        inside_ = bounded.inside.empty() ? all_ : std::move(bounded.inside);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            result_.axes[axis] = evaluation_.geometry.size[axis] == 1 ? AxisSearch::oneVoxel
                                 : result_.bounds[axis] == 0          ? AxisSearch::noRoom
                                                                      : AxisSearch::searched;
        }
        const std::size_t wanted =
            std::clamp(inside_.size() / 4, std::min(inside_.size(), leastSearched), mostSearched);
        some_ = someOf(inside_, wanted);
    }

    /** So much wider that gamma does not end at its limit within the ranges of the search. */
    double shiftWidening() const
    {
        const double reach = Trials::gammaLimit * result_.criterion.distance;
        return std::max(1.0, 4.0 / 3 * result_.range / reach);
    }

    double factorWidening() const
    {
        const double reach = Trials::gammaLimit * result_.criterion.doseDifference;
        return std::max(1.0, 4.0 / 3 * (largestFactor - 1) * 100 / reach);
    }

    /** Fewer of them where the part searched with is a large one. */
    SimplexSettings settings(double tolerance, int evaluations) const
    {
        const double part = static_cast<double>(some_.size()) / static_cast<double>(all_.size());
        const double share = std::min(1.0, 0.25 / part);
        return {tolerance, std::max(5, static_cast<int>(share * evaluations)), 2, 1e-3};
    }

    void testPart(const VoxelList& voxels)
    {
        const double widening = std::max(shiftWidening(), factorWidening());
        const double distance = Trials::gammaLimit * widening * result_.criterion.distance;
        Vec3 reach{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            reach[axis] =
                std::max(result_.bounds[axis], evaluation_.geometry.spacing[axis]) + distance;
        }
        trials_.testPart(voxels, reach);
    }

    /** Which axes the doses say something about. */
    void findAxes(ChangeSearch& search)
    {
        testPart(some_);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (result_.axes[axis] == AxisSearch::searched &&
                !search.matters(axis, evaluation_.geometry.spacing[axis], shiftWidening())) {
                result_.axes[axis] = AxisSearch::notDetermined;
            }
        }
    }

    Parameters freeShift() const
    {
        Parameters free{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            free[axis] = result_.axes[axis] == AxisSearch::searched;
        }
        return free;
    }

    /** First with a criterion so wide that the way downhill is seen from afar. */
    DoseChange search(ChangeSearch& search, const Parameters& free, double widening, int coarse,
                      int fine)
    {
        std::array<double, parameterCount> edges{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            edges[axis] = result_.bounds[axis] / 2;
        }
        edges[factorParameter] = 2;
        const DoseChange valley = search.search(free, {}, widening, edges, settings(0.1, coarse));
        return search.search(free, search.bestOf({{}, valley}), 1, fineEdges, settings(0.01, fine));
    }

    /** Takes axes whose shift may as well be the opposite one out of the search. */
    bool removeAmbiguous(ChangeSearch& search, const DoseChange& best)
    {
        bool hasRemoved = false;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (result_.axes[axis] == AxisSearch::searched && search.isAmbiguous(best, axis)) {
                result_.axes[axis] = AxisSearch::ambiguous;
                hasRemoved = true;
            }
        }
        return hasRemoved;
    }

    /** A search that goes on without the axes that were taken out. */
    DoseChange searchAgain(ChangeSearch& search, const Parameters& free, DoseChange start)
    {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            start.shift[axis] = free[axis] ? start.shift[axis] : 0;
        }
        return search.search(free, start, 1, fineEdges, settings(0.01, 60));
    }

    void findChanges(ChangeSearch& search)
    {
        Parameters shift = freeShift();
        Parameters both = shift;
        both[factorParameter] = true;
        const Parameters factor{false, false, false, true};
        DoseChange shiftAlone = this->search(search, shift, shiftWidening(), 60, 60);
        const DoseChange factorAlone = this->search(search, factor, factorWidening(), 20, 25);
        DoseChange together = this->search(search, both, shiftWidening(), 80, 80);
        if (removeAmbiguous(search, together)) {
            shift = freeShift();
            both = shift;
            both[factorParameter] = true;
            shiftAlone = searchAgain(search, shift, shiftAlone);
            together = searchAgain(search, both, together);
        }
        if (some_.size() < mostSearched) {
            testPart(inside_);
        }
        const DoseChange best = search.bestOf({{}, shiftAlone, factorAlone, together});
        result_.shiftAlone.change = rounded(shiftAlone);
        result_.factorAlone.change = rounded(factorAlone);
        result_.both.change =
            rounded(search.search(both, best, 1, preciseEdges, {0.005, 28, 1, 1e-3}));
    }

    void findRanges(ChangeSearch& search)
    {
        testPart(some_.size() >= enoughForRates ? some_ : inside_);
        const DoseChange& best = result_.both.change;
        search.compute(best);
        constexpr double tolerated = 0.1; // percentage points
        const double limit = trials_.passRate() - tolerated;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (result_.axes[axis] == AxisSearch::searched) {
                result_.shiftWithin[axis] = search.range(best, axis, limit);
            }
        }
        const Interval percent = search.range(best, factorParameter, limit);
        result_.factorWithin = {1 + percent.lower / 100, 1 + percent.upper / 100};
    }

    /** The rates of all voxels; that of the best change comes last, with its map. */
    void confirm(ChangeSearch& search)
    {
        trials_.testWhole(all_);
        search.compute(result_.shiftAlone.change);
        result_.shiftAlone = resultOf(result_.shiftAlone.change);
        search.compute(result_.factorAlone.change);
        result_.factorAlone = resultOf(result_.factorAlone.change);
        confirmBoth(search);
        if (conclusionOf(result_) == Conclusion::neither) {
            takeFewerFailures(search);
        }
        result_.after = trials_.maps();
        findRemainder();
    }

    /**
     * What was searched for is badness in some voxels, which finds the change most precisely. Where
     * nothing explains the failures, either change alone may leave fewer of them among all voxels.
     */
    void takeFewerFailures(ChangeSearch& search)
    {
        for (const ChangeResult* const alone : {&result_.shiftAlone, &result_.factorAlone}) {
            if (alone->failed < result_.both.failed) { // both hold it, too
                result_.both.change = alone->change;
                confirmBoth(search);
            }
        }
    }

    void confirmBoth(ChangeSearch& search)
    {
        search.compute(result_.both.change, 1, request_.maxGamma);
        result_.both = resultOf(result_.both.change);
    }

    DoseView movedEvaluation(std::vector<float>& doses) const
    {
        const DoseChange& change = result_.both.change;
        doses.resize(evaluation_.values.size());
        std::transform(evaluation_.values.begin(), evaluation_.values.end(), doses.begin(),
                       [&change](float dose) {
                           return static_cast<float>(static_cast<double>(dose) * change.factor);
                       });
        Geometry geometry = evaluation_.geometry;
        for (std::size_t i = 0; i < 3; ++i) {
            geometry.origin[i] += change.shift[i];
        }
        return {geometry, doses};
    }

    void findRemainder()
    {
        if (result_.both.failed == 0) {
            return;
        }
        std::vector<float> doses;
        const CentreDoses centres(reference_, movedEvaluation(doses));
        Remainder& rest = result_.remainder;
        for (const std::size_t voxel : all_) {
            if (result_.after.passed[voxel] != ZARNGI_FAILED) {
                continue;
            }
            centres.count(rest.sides, voxel);
            rest.unreached += result_.after.gamma[voxel] > unreachedGamma ? 1U : 0U;
            const Vec3 centre = reference_.geometry.centreOf(voxel);
            for (std::size_t axis = 0; axis < 3; ++axis) {
                rest.centre[axis] += centre[axis];
            }
        }
        for (double& coordinate : rest.centre) {
            coordinate /= static_cast<double>(result_.both.failed);
        }
        countParts();
    }

    void countParts()
    {
        Remainder& rest = result_.remainder;
        for (const NamedPart& part : request_.parts) {
            std::size_t failed = 0;
            for (const files::Run& run : *part.voxels) {
                const auto first =
                    result_.after.passed.begin() +
                    static_cast<std::ptrdiff_t>(firstVoxel(reference_.geometry, run));
                failed += static_cast<std::size_t>(
                    std::count(first, first + (run.end - run.begin), ZARNGI_FAILED));
            }
            if (failed > 0) {
                rest.parts.emplace_back(part.name, failed);
            }
        }
        std::stable_sort(rest.parts.begin(), rest.parts.end(),
                         [](const auto& a, const auto& b) { return a.second > b.second; });
    }

    DoseView reference_;
    DoseView evaluation_;
    const ExplanationRequest& request_;
    const WatchExplanation& watch_;
    Trials trials_;
    VoxelList all_;    ///< that are tested
    VoxelList inside_; ///< of these, those that keep a dose under every shift
    VoxelList some_;   ///< of these, those that are searched with
    Explanation result_;
};

} // namespace

double defaultRange(const Criterion& criterion)
{
    constexpr double leastRange = 5; // mm
    return std::max(leastRange, 2 * criterion.distance);
}

Explanation explain(GammaEngine& engine, const DoseView& reference, const DoseView& evaluation,
                    const ExplanationRequest& request, const WatchExplanation& watch)
{
    return Explainer(engine, reference, evaluation, request, watch).run();
}

} // namespace zarngi
