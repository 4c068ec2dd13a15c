/**
 * @file gammaFigures.h
 * Gamma as text: a search tells how large gamma is up to its limit, and beyond it that it is
 * larger.
 */
#ifndef ZARNGI_CLI_OUTPUT_GAMMAFIGURES_H
#define ZARNGI_CLI_OUTPUT_GAMMAFIGURES_H

#include <string>

#include "comparison/gammaStatistics.h"

namespace zarngi
{

/** "0.75", "above 3". */
std::string gammaText(double gamma, double limit);
/** "0.75"; "at most 1.2" where gammas beyond the limit enter. */
std::string meanText(const GammaStatistics& statistics);

/** "0.750", ">3", right-aligned in a column of a table. */
std::string gammaCell(double gamma, double limit);
/** "0.750", "<=1.20". */
std::string meanCell(const GammaStatistics& statistics);

/** "44: 20 hot, 10 cold, 12 without evaluation dose in reach, 2 on neither side". */
std::string failedText(const GammaStatistics& statistics);

} // namespace zarngi

#endif
