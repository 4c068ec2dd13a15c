/**
 * @file doseChecks.h
 * Whether the two doses of a comparison belong together.
 */
#ifndef ZARNGI_COMPARISON_COMPOSITION_DOSECHECKS_H
#define ZARNGI_COMPARISON_COMPOSITION_DOSECHECKS_H

#include <vector>

#include "comparison/doseImage.h"
#include "comparison/sentence.h"

namespace zarngi
{

/**
 * @param isNormalised whether the dose of 100 % was asked for.
 * @throws InputError where the doses have different units, or relative ones lack a dose of 100 %
 */
void checkUnits(const DoseImage& reference, const DoseImage& evaluation, bool isNormalised);

/** The warnings of the files, and those about the pair. */
void addWarnings(std::vector<Sentence>& warnings, const DoseImage& reference,
                 const DoseImage& evaluation);

} // namespace zarngi

#endif
