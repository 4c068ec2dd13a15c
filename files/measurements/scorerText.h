/**
 * @file scorerText.h
 * Texts that a simulation's scorer writes: their numbers count bins, and positions stand nowhere.
 */
#ifndef ZARNGI_FILES_MEASUREMENTS_SCORERTEXT_H
#define ZARNGI_FILES_MEASUREMENTS_SCORERTEXT_H

#include <vector>

#include "files/measurements/tableText.h"

namespace files
{

/** Whether its head says so. */
bool isTextOfScorer(const std::vector<TextLine>& lines);

/** Whether a comment tells bins, as scorers and histograms do: "# X in 4 bins of 0.75 cm". */
bool tellsBins(const TextLine& line);

/** Says what to do instead. @throws Refusal */
[[noreturn]] void refuseScorer();
[[noreturn]] void refuseBins(const TextLine& line);

} // namespace files

#endif
