/**
 * @file gammaSearch.h
 * One computation in parts: planes of the reference, one after another or several at a time.
 */
#ifndef ZARNGI_COMPARISON_GAMMASEARCH_H
#define ZARNGI_COMPARISON_GAMMASEARCH_H

#include <chrono>
#include <cstddef>
#include <span>
#include <vector>

#include "comparison/gammaRun.h"

namespace zarngi
{

/** Voxels of the largest reference that is always searched as a whole. */
constexpr std::size_t largestWhole = std::size_t{1} << 22;

/** Planes of a grid, which are those of constant z. */
struct PlaneRange {
    int first = 0;
    int count = 0;
};

/**
 * A computation of the gamma index with the grids of a run. A large grid is searched by parts, with
 * the same bits: the library keeps records of a part at a time, and parts may be searched
 * elsewhere, which is what take() is for.
 */
class GammaSearch
{
public:
    /**
     * @param run that does nothing else as long as this lives.
     * @throws InputError when the library refuses a parameter.
     */
    GammaSearch(const GammaRun& run, const GammaSettings& settings, const Criterion& criterion);
    ~GammaSearch();
    GammaSearch(const GammaSearch&) = delete;
    GammaSearch& operator=(const GammaSearch&) = delete;

    bool hasNext() const { return next_ < parts_.size(); }

    /** A part that is to be searched, here or elsewhere. */
    PlaneRange next() { return parts_[next_++]; }

    /** Searches a part here. @throws InputError as GammaRun::compute() */
    void search(PlaneRange part, const WatchSearch& watch);
    /** Searches all parts that are left here. @throws InputError as GammaRun::compute() */
    void searchRest(const WatchSearch& watch);

    /**
     * Puts a part that was searched elsewhere in its place.
     * @param gamma, passed of its planes, as those of a GammaMap
     * @throws std::invalid_argument for another number of voxels
     */
    void take(PlaneRange part, std::span<const float> gamma, std::span<const unsigned char> passed);

    /** The result, when all parts are there. @throws std::logic_error when they are not */
    GammaMap finish();

    /** Of how many parts, and how many of them are there. */
    std::size_t parts() const { return parts_.size(); }
    std::size_t done() const { return done_; }
    const GammaSettings& settings() const { return settings_; }
    const Criterion& criterion() const { return criterion_; }

private:
    void count(PlaneRange part);

    GammaSettings settings_;
    Criterion criterion_;
    std::size_t plane_; ///< voxels of one
    std::vector<PlaneRange> parts_;
    std::size_t next_ = 0;
    std::size_t done_ = 0;
    bool hasTaken_ = false;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    std::size_t passed_ = 0; ///< voxels, of the parts that are there
    std::size_t tested_ = 0;
    GammaMap map_;
};

/** %, of some tested voxels, in single precision as the library's own; 0 of none. */
double passRateOf(std::size_t passed, std::size_t tested);

} // namespace zarngi

#endif
