/**
 * @file gammaRun.h
 * Computations of the gamma index: the library's C interface in C++ clothes.
 */
#ifndef ZARNGI_COMPARISON_GAMMARUN_H
#define ZARNGI_COMPARISON_GAMMARUN_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "comparison/criterion.h"
#include "comparison/doseSampling.h"

namespace zarngi
{

/** What holds for all criteria of a comparison. */
struct GammaSettings {
    double cutOff = 10;                  ///< %, DCO
    std::optional<double> normalisation; ///< Gy; none: the reference maximum
    double maxGamma = 3;                 ///< infinite: until all is final
    std::optional<double> step;          ///< mm; none: a tenth of the distance to agreement
    bool passRateOnly = false;
    bool nearest = false; ///< doses of the containing voxel, no interpolation
    bool rotate = false;
    bool slices = false; ///< interpolation within planes of constant z
    int threads = 1;
    int verbose = 0;
    bool mayTestNothing = false; ///< else that is no result
};

/** What one computation gives. */
struct GammaMap {
    files::LargeVector<float> values; ///< on the reference grid; -1: not tested
    files::LargeVector<unsigned char>
        passed;          ///< the library's own verdict: 1, 0, or 255: not tested
    double passRate = 0; ///< %
    double seconds = 0;  ///< of the search
};

/** The spacing of the search lattice that a computation uses, mm. */
float stepSize(const GammaSettings& settings, const Criterion& criterion);

/** How far a search is; one in parts, or of points, tells of no shells: it has one. */
struct SearchProgress {
    int shell = 0;      ///< that is searched, 1 is the innermost
    int shellLimit = 0; ///< the last one there can be
    double share = 0;   ///< of this shell that is done, 0 to 1
};

/** Is told how far a search is, on the thread that computes; false ends the computation. */
using WatchSearch = std::function<bool(const SearchProgress&)>;

/** The library with two grids loaded; one at a time, since the library holds one environment. */
class GammaRun
{
public:
    /**
     * @param reference, evaluation which are searched where they are, so that they stay as they are
     *        as long as this lives, or until others are set in their place.
     * @throws InputError when the library refuses a grid.
     */
    GammaRun(const DoseImage& reference, const DoseImage& evaluation);
    ~GammaRun();
    GammaRun(const GammaRun&) = delete;
    GammaRun& operator=(const GammaRun&) = delete;

    /**
     * @param watch told at least every 20 ms of the search; must not throw.
     * @throws InputError when no voxel is above the cut-off, memory runs out, or `watch` ended it.
     */
    GammaMap compute(const GammaSettings& settings, const Criterion& criterion,
                     const WatchSearch& watch = {});

    /** Replaces a grid by a copy. @throws InputError when the library refuses it. */
    void setReference(const DoseView& doses);
    void setEvaluation(const DoseView& doses);

    /** As compute(), but may test no voxel; without a pass rate. */
    GammaMap search(const GammaSettings& settings, const Criterion& criterion,
                    const WatchSearch& watch = {});

    /** Of the grid whose voxels are tested. */
    const Geometry& reference() const { return reference_; }

private:
    std::string referenceName_; ///< for messages
    std::string evaluationName_;
    Geometry reference_{};
};

/** @throws InputError when no voxel of the map was tested, and one had to be. */
void checkTested(const GammaMap& map, const GammaSettings& settings);

/** The version of the project, which the program has as well. */
std::string projectVersion();

} // namespace zarngi

#endif
