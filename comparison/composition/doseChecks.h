/**
 * @file doseChecks.h
 * Whether the doses of a comparison are doses, and belong together.
 */
#ifndef ZARNGI_COMPARISON_COMPOSITION_DOSECHECKS_H
#define ZARNGI_COMPARISON_COMPOSITION_DOSECHECKS_H

#include <vector>

#include "comparison/composition/comparedDoses.h"

namespace zarngi
{

/** Tells what doses of simulations and portal images are in after their factors, which make gray.
 */
void settleUnits(GivenDoses& doses, const Request& request);

/**
 * @throws InputError where the doses have different units, relative ones lack a dose of 100 %, or
 * differences between doses were not asked for
 */
void checkDoses(const GivenDoses& doses, const Request& request);

/** That it holds no differences. @throws InputError */
void checkIsDose(const DoseImage& dose);

/** What was told of a file when it was read. */
void addWarnings(std::vector<Sentence>& warnings, const DoseImage& dose);

/**
 * The warnings of all files of doses, and those about the pair.
 * @param quotesFiles as of files::Host
 */
void addWarnings(std::vector<Sentence>& warnings, const GivenDoses& doses, bool quotesFiles);

} // namespace zarngi

#endif
