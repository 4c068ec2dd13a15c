/**
 * @file searchCriteria.h
 * What every search reads of the computation: fixed before a pass, unchanged during it.
 */
#ifndef ZARNGI_SEARCHCRITERIA_H
#define ZARNGI_SEARCHCRITERIA_H

#include "doseGrid.h"
#include "engineState.h"
#include "gridAxis.h"
#include "libZarnGI.h"
#include "shellLattice.h"

namespace zarngi::engine
{

/** Grids and criteria; readSearchCriteria() gives those of the environment. */
struct SearchCriteria {
    /** The radius at which shell `ishell` (the first is 1) ends, mm. */
    [[nodiscard]] float outerRadius(int ishell) const;
    /** The points of shell `ishell`. */
    [[nodiscard]] ShellLattice shellLattice(int ishell) const;
    /** gamma^2 that no distance term of a shell exceeds. */
    [[nodiscard]] float largestDistanceTermOf(const ShellLattice& shell) const;

    DoseGrid reference;
    DoseGrid evaluation;
    const float* boxBegin; ///< mm, corners of the evaluation box
    const float* boxEnd;
    Reader reader;
    bool randomRotation; ///< by Rot
    bool passRateMode;
    float gammaSearchMax; ///< not positive: none
    bool localDD;
    float dta;      ///< mm
    float dd;       ///< %
    float ddValue;  ///< Gy, criterion unless localDD
    float stepSize; ///< mm
    float stepsPerDTA;
};

/** What the environment and the engine state hold now. */
SearchCriteria readSearchCriteria();

} // namespace zarngi::engine

#endif
