/**
 * @file partSearch.h
 * A part of a computation, by another library than that which has the grids: of another process.
 */
#ifndef ZARNGI_COMPARISON_PARTSEARCH_H
#define ZARNGI_COMPARISON_PARTSEARCH_H

#include <span>

#include "comparison/gammaSearch.h"
#include "files/largeVector.h"

namespace zarngi
{

/** All that the search of some planes depends on, but for the doses themselves. */
struct SearchPart {
    Geometry reference; ///< of the whole grids
    Geometry evaluation;
    GammaSettings settings; ///< with a normalisation and a bounded maxGamma
    Criterion criterion;
    PlaneRange tested;       ///< of the reference
    PlaneRange ofReference;  ///< whose doses are needed
    PlaneRange ofEvaluation; ///< whose doses are needed
};

/** Gamma and verdicts as those of a GammaMap, of the planes of a part. */
struct PartMaps {
    files::LargeVector<float> gamma;
    files::LargeVector<unsigned char> passed;
};

/** Whether a part needs less than all doses. */
bool canBeHandedOut(const GammaSettings& settings);

/** What a part needs. @param search whose settings allow it */
SearchPart searchPart(const GammaSearch& search, const Geometry& reference,
                      const Geometry& evaluation, PlaneRange tested);

/** The doses of some planes. */
std::span<const float> dosesOf(const Image& image, PlaneRange planes);

/**
 * Searches a part. The library must hold no grids that are still needed.
 * @param reference, evaluation the doses of the planes that the part needs, with
 *        files::blockMargin bytes behind them that can be read.
 * @throws InputError as GammaRun::compute(), std::invalid_argument for other numbers of doses
 */
PartMaps searched(const SearchPart& part, std::span<const float> reference,
                  std::span<const float> evaluation);

} // namespace zarngi

#endif
