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

/** Grids and criteria, taken from the environment and the engine state. */
struct SearchCriteria {
    /** The radius at which shell `ishell` (the first is 1) ends, mm. */
    [[nodiscard]] float outerRadius(int ishell) const;
    /** The points of shell `ishell`. */
    [[nodiscard]] ShellLattice shellLattice(int ishell) const;
    /** gamma^2 that no distance term of a shell exceeds. */
    [[nodiscard]] float largestDistanceTermOf(const ShellLattice& shell) const;

    DoseGrid reference = referenceGrid();
    DoseGrid evaluation = evaluationGrid();
    const float* boxBegin = Env->xmin_eval; ///< mm, corners of the evaluation box
    const float* boxEnd = Env->xmax_eval;
    Reader reader = selectedReader();
    bool randomRotation = Env->randomRotation; ///< by Rot
    bool passRateMode = Env->passRateMode;
    float gammaSearchMax = Env->gammaSearchMax; ///< not positive: none
    bool localDD = ::localDD;
    float dta = DTA;                ///< mm
    float dd = DD;                  ///< %
    float ddValue = DDvalue;        ///< Gy, criterion unless localDD
    float stepSize = Env->stepSize; ///< mm
    float stepsPerDTA = dta / stepSize;
};

#endif
