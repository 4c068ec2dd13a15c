/**
 * @file searchCriteria.h
 * What every search reads of the computation: fixed before a pass, unchanged during it.
 */
#ifndef ZARNGI_SEARCHCRITERIA_H
#define ZARNGI_SEARCHCRITERIA_H

#include "doseGrid.h"
#include "engineState.h"

/** Grids and criteria, taken from the environment and the engine state. */
struct SearchCriteria {
    DoseGrid reference = referenceGrid();
    DoseGrid evaluation = evaluationGrid();
    bool passRateMode = Env->passRateMode;
    bool localDD = ::localDD;
    float dta = DTA;                ///< mm
    float dd = DD;                  ///< %
    float ddValue = DDvalue;        ///< Gy, criterion unless localDD
    float stepSize = Env->stepSize; ///< mm
};

#endif
