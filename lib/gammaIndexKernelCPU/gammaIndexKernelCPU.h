/**
 * @file gammaIndexKernelCPU.h
 * The gamma-index engine: umbrella of its headers.
 *
 * The road of one computation: evaluateGammaIndex() (driver) prepares it (set-up), runs the search
 * shell by shell (workers, search), asks the bookkeeping whether to go on, and writes the results;
 * the report prints what each step returned.
 */
#ifndef ZARNGI_GAMMAINDEXKERNELCPU_H
#define ZARNGI_GAMMAINDEXKERNELCPU_H

#include "bookkeeping.h"
#include "doseReaders.h"
#include "driver.h"
#include "engineState.h"
#include "rotation.h"
#include "workers.h"

#endif
