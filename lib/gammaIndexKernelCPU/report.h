/**
 * @file report.h
 * The reports on standard output. Each function prints its lines if the verbosity asks for them,
 * and computes nothing. What costs a pass over a grid to find is printed in any case: its callers
 * ask showsEverything() first.
 */
#ifndef ZARNGI_REPORT_H
#define ZARNGI_REPORT_H

#include <cstddef>

#include "setup.h"
#include "statistics.h"

namespace zarngi::engine
{

namespace report
{

void criteria();
void activeVoxelCount(const DoseLevels& levels);
void nothingToDo();
void options();
void doseLevels(const DoseLevels& levels, float maxDose_eval); // in any case
void doseDifference();
void search();
void skimmedVoxels(std::size_t skimmed);
void slices2D();
void threads();
/** Announces the pass of shell `ishell` (the first is 1). */
void shell(int ishell);
void searchEnded();
/** Whether the verbosity shows everything: the dose levels, the progress bar, the statistics. */
bool showsEverything();
/** The progress bar of a pass: header, one mark per 2.5 %, end. */
void progressHeader();
void progressMark();
void progressEnd();
void counts(int numPassed);
void statistics(const GammaStatistics& statistics); // in any case
void passRate(float passRate);
void done();

} // namespace report

} // namespace zarngi::engine

#endif
