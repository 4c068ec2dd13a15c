/**
 * @file goal.h
 * What is asked of the dose of structures, as clinical goals are written: figures named after AAPM
 * TG-263, and limits of the difference between two doses.
 */
#ifndef ZARNGI_COMPARISON_GOALS_GOAL_H
#define ZARNGI_COMPARISON_GOALS_GOAL_H

#include <string>
#include <vector>

#include "comparison/structures/doseMetric.h"

namespace zarngi
{

/** Of the prescribed dose: what the conformity index asks for. */
constexpr DoseMetric wholePrescription{DoseMetric::Kind::volumeAtPercent, 100};

/** A figure of a structure that goals are set for. */
struct GoalFigure {
    enum class Kind {
        metric,      ///< D95%, D2cc, V20Gy, V95%
        minimum,     ///< Dmin
        mean,        ///< Dmean
        maximum,     ///< Dmax
        homogeneity, ///< HI of ICRU 83: (D2% - D98%) / D50%
        conformity   ///< CI of Paddick: TV_PIV^2 / (TV * PIV)
    };

    Kind kind = Kind::metric;
    DoseMetric metric{}; ///< of Kind::metric

    bool isIndex() const { return kind == Kind::homogeneity || kind == Kind::conformity; }
    bool isVolume() const { return kind == Kind::metric && metric.isVolume(); }
    bool isDose() const { return !isIndex() && !isVolume(); }
    /** "D95%", "V20Gy", "Dmean", "HI". */
    std::string label() const;
};

enum class GoalUnit { none, gray, centigray, percent, cubicCentimetres };

/** "Gy", "cGy", "%", "cc", or nothing. */
const char* unitName(GoalUnit unit);

enum class GoalRelation { below, atMost, above, atLeast, within };

/** "<", "<=", ">", ">=", "within". */
const char* relationName(GoalRelation relation);

/** `PTV*: D95% >= 57 Gy`, or a limit of the difference: `PTV*: D95% within 2 %`. */
struct Goal {
    std::string text; ///< as it was given
    std::string pattern;
    GoalFigure figure;
    GoalRelation relation = GoalRelation::atLeast;
    double limit = 0;
    GoalUnit unit = GoalUnit::none; ///< of the limit

    bool isOfDifference() const { return relation == GoalRelation::within; }
    /** Whether a difference is limited by a share of what the reference has. */
    bool isRelative() const
    {
        return isOfDifference() && unit == GoalUnit::percent && !figure.isVolume();
    }
    /** What the figure itself is in. */
    GoalUnit figureUnit() const;
    /** Whether it makes no sense without the dose that was prescribed. */
    bool needsPrescription() const;
    bool needsGray() const;

    /** "D95% >= 57 Gy". */
    std::string label() const;
};

/**
 * `PATTERN: FIGURE OP NUMBER [UNIT]`; the last colon separates, case and blanks of figures and
 * units do not matter. A unit may stand in brackets behind the figure, as TG-263 writes it.
 * @throws UsageError at Member::goals
 */
std::vector<Goal> parseGoals(const std::vector<std::string>& texts);

std::vector<std::string> textsOf(const std::vector<Goal>& goals);

/** The figures of histograms from which those of the goals are made, each once. */
std::vector<DoseMetric> metricsOf(const std::vector<Goal>& goals);

} // namespace zarngi

#endif
