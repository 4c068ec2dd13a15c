/**
 * @file compareExplain.h
 * What `zarngi compare` finds out beyond its criteria: explanation and rates by criterion.
 */
#ifndef ZARNGI_CLI_COMMANDS_COMPAREEXPLAIN_H
#define ZARNGI_CLI_COMMANDS_COMPAREEXPLAIN_H

#include "cli/commands/compareOptions.h"
#include "comparison/comparison.h"

namespace zarngi
{

/** What is asked for, before anything is computed. @throws UsageError, InputError */
void checkExplainedStructure(const Comparison& comparison, const ExplainOptions& options);

/**
 * Fills comparison.explanation and comparison.sweeps, where they are asked for.
 * @param reference as it is searched, in the run.
 * @param settings with a normalisation dose.
 * @throws InputError
 */
void explainAndSweep(Comparison& comparison, GammaRun& run, const DoseView& reference,
                     const GammaSettings& settings, const ExplainOptions& options);

} // namespace zarngi

#endif
