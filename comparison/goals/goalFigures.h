/**
 * @file goalFigures.h
 * The figures of one dose that goals are set for.
 */
#ifndef ZARNGI_COMPARISON_GOALS_GOALFIGURES_H
#define ZARNGI_COMPARISON_GOALS_GOALFIGURES_H

#include <optional>

#include "comparison/goals/goal.h"
#include "comparison/structures/structureComparison.h"

namespace zarngi
{

class GoalFigures
{
public:
    /** @param dose which of the doses of a row; @param structures, view of it; both stay. */
    GoalFigures(const StructureComparison& structures,
                std::optional<DoseVolume> StructureRow::*dose, const DoseView& view)
        : structures_(structures), dose_(dose), view_(view)
    {
    }

    /** In Goal::figureUnit(); none where the structure has no such figure. */
    std::optional<double> of(const Goal& goal, const StructureRow& row);

private:
    std::optional<double> metric(const DoseMetric& metric, const DoseVolume& dose) const;
    std::optional<double> homogeneity(const DoseVolume& dose) const;
    std::optional<double> conformity(const StructureRow& row, const DoseVolume& dose);
    std::optional<double> ofHistogram(const Goal& goal, const DoseVolume& dose) const;

    const StructureComparison& structures_;
    std::optional<DoseVolume> StructureRow::*dose_;
    const DoseView& view_;
    std::optional<double> prescribedVolume_; ///< cc of all that has the prescribed dose, found once
};

} // namespace zarngi

#endif
