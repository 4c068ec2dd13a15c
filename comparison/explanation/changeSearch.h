/**
 * @file changeSearch.h
 * The stages of an explanation: axes that matter, coarse and fine searches, ranges.
 */
#ifndef ZARNGI_COMPARISON_EXPLANATION_CHANGESEARCH_H
#define ZARNGI_COMPARISON_EXPLANATION_CHANGESEARCH_H

#include "comparison/explanation/explanation.h"
#include "comparison/explanation/searchVoxels.h"
#include "comparison/explanation/simplex.h"

namespace zarngi
{

/** The parameters of a change: the shift along x, y and z in mm, the factor in percent above 1. */
constexpr std::size_t parameterCount = 4;
constexpr std::size_t factorParameter = 3;
using Parameters = std::array<bool, parameterCount>;

/** What is searched, in percent and mm: numbers of one magnitude. */
double parameterOf(const DoseChange& change, std::size_t parameter);
void setParameter(DoseChange& change, std::size_t parameter, double value);

/** Rounded to 0.01 mm and 0.0001. */
DoseChange rounded(DoseChange change);

/** Searches the changes of an evaluation for the least badness. */
class ChangeSearch
{
public:
    /** @param bounded from shiftBounds(). */
    ChangeSearch(Trials& trials, const Vec3& bounds, const WatchExplanation& watch,
                 double allVoxels);

    /** A search, with a criterion that is widened. @param edges of the first simplex. */
    DoseChange search(const Parameters& free, const DoseChange& start, double widening,
                      const std::array<double, parameterCount>& edges,
                      const SimplexSettings& settings);

    /** The one with the least badness of the true criterion. */
    DoseChange bestOf(const std::vector<DoseChange>& changes);

    /** Whether whole voxels along an axis make a difference. @param spacing mm. */
    bool matters(std::size_t axis, double spacing, double widening);

    /**
     * Whether the opposite shift along an axis gains nearly as much: a fraction of a voxel averages
     * noise, whatever its direction.
     */
    bool isAmbiguous(const DoseChange& best, std::size_t axis);

    /** Values of a parameter around a change that keep the pass rate above a limit, %. */
    Interval range(const DoseChange& best, std::size_t parameter, double limit);

    /** A computation, watched. */
    void compute(const DoseChange& change, double widening = 1,
                 double maxGamma = Trials::gammaLimit);

    double lower(std::size_t parameter) const;
    double upper(std::size_t parameter) const;

private:
    double endOfRange(const DoseChange& best, std::size_t parameter, double end, double limit);

    Trials& trials_;
    Vec3 bounds_;
    const WatchExplanation& watch_;
    double allVoxels_;
};

} // namespace zarngi

#endif
