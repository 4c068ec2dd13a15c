/**
 * @file simplex.h
 * The least value of a function of few variables, without derivatives: the simplex of J. A. Nelder
 * and R. Mead, Comput. J. 7 (1965) 308-313, within bounds and with restarts.
 *
 * Only sums, products and quotients of double precision in a fixed order: the same function gives
 * the same bits in every host.
 */
#ifndef ZARNGI_COMPARISON_EXPLANATION_SIMPLEX_H
#define ZARNGI_COMPARISON_EXPLANATION_SIMPLEX_H

#include <functional>
#include <vector>

namespace zarngi
{

using Place = std::vector<double>;

/** Where a function is searched, and from where on; all of one length, at least 1. */
struct SimplexSpace {
    Place lower;
    Place upper; ///< above `lower`
    Place start; ///< within
    Place steps; ///< edges of the first simplex, above 0
};

struct SimplexSettings {
    double tolerance = 0.01; ///< the simplex has shrunk when no edge is longer along any axis
    int evaluations = 100;   ///< at most
    int restarts = 2;        ///< at most; each from the best place, with edges half as long
    /** A restart that lowers the value by less than this part of it is the last one. */
    double gain = 1e-3;
};

struct Minimum {
    Place place;
    double value = 0;
    int evaluations = 0;
    bool hasConverged = false; ///< else the evaluations ended before the simplex had shrunk
};

/**
 * Places that leave the bounds are moved onto them, axis by axis.
 * @param function is evaluated within the bounds only; what it throws ends the search.
 */
Minimum minimiseBySimplex(const std::function<double(const Place&)>& function,
                          const SimplexSpace& space, const SimplexSettings& settings);

} // namespace zarngi

#endif
