/**
 * @file doseDoubts.h
 * What speaks against the values of a file being doses, as its name, its units and the values tell.
 */
#ifndef ZARNGI_FILES_DOSEDOUBTS_H
#define ZARNGI_FILES_DOSEDOUBTS_H

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "files/doseImage.h"

namespace files
{

/**
 * The word that a name ends in where it tells of other values than doses: "uncertainty", "squared",
 * "edep", "hits" or "LET". It is the last word before the ending of the file, in any case, set off
 * by anything but letters and digits or by a capital: `dose-Uncertainty.mhd`, `NbOfHits.mha`,
 * `plan_LETd.nii.gz`. Of "LET" and "LETd" it is the whole word.
 */
std::optional<std::string> wordAgainstDoses(const std::string& name);

/** Values that stand apart from all others. */
struct FarDoses {
    std::size_t count = 0;    ///< at or above a hundredth of the maximum
    std::size_t positive = 0; ///< of so many doses above 0
    float percentile = 0;     ///< 99.9th of the positive doses
};

/**
 * Those of doses whose maximum is more than 100 times the 99.9th percentile of the positive ones:
 * of n of them in rising order the one at place ceil(0.999 n), counted from 1. Exact; of fewer than
 * 1000 that is the maximum itself, so none of them stand apart.
 * @param doses finite ones; places without a dose hold 0.
 * @param maximum the largest of them; 0 where none is positive.
 */
std::optional<FarDoses> farDoses(std::span<const float> doses, float maximum);

/**
 * Refuses values that are not finite, and makes warnings of what speaks against the others.
 * @param name of the file; empty where there is none.
 * @throws Refusal
 */
void checkValues(DoseImage& dose, const std::string& name);

} // namespace files

#endif
