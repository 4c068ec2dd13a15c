/**
 * @file conclusion.h
 * What an explanation means, in words; docs/explain.md has the limits.
 */
#ifndef ZARNGI_COMPARISON_EXPLANATION_CONCLUSION_H
#define ZARNGI_COMPARISON_EXPLANATION_CONCLUSION_H

#include "comparison/explanation/explanation.h"

namespace zarngi
{

/** An explanation lets at least this part of the failed voxels pass. */
constexpr double explainedShare = 0.9;
/** One alone explains as well as both when it lets at most this part fewer pass. */
constexpr double equalShare = 0.05;

/** The part of the voxels that failed before which a change lets pass; negative: more fail. */
double passingShare(const ChangeResult& change, const ChangeResult& before);

/** From the rates of an explanation whose searches are done. */
Conclusion conclusionOf(const Explanation& explanation);

/** "shift", "factor", "both", "neither" or "nothing failed". */
const char* conclusionName(Conclusion conclusion);

/**
 * "2.9 mm left, 0.3 mm anterior, 2.6 mm superior", or "2.9 mm along +x, 0.3 mm along -y"; empty for
 * less than 0.05 mm along each axis.
 */
std::string directionText(const Vec3& shift, ShiftAxes axes);

/** mm */
double lengthOf(const Vec3& shift);

/** What it means, in one or two sentences that end with a full stop. */
std::string conclusionText(const Explanation& explanation);

/** What a person should know of it: axes that were not searched, ends of ranges reached. */
std::vector<std::string> explanationNotes(const Explanation& explanation);

} // namespace zarngi

#endif
