/**
 * @file explanationTable.h
 * Explanation and rates by criterion as text for a person at a terminal.
 */
#ifndef ZARNGI_CLI_OUTPUT_EXPLANATIONTABLE_H
#define ZARNGI_CLI_OUTPUT_EXPLANATIONTABLE_H

#include <string>

#include "comparison/comparison.h"

namespace zarngi
{

std::string describeExplanation(const Explanation& explanation);

/** A table for everything and one for each structure. */
std::string describeSweep(const Sweep& sweep);

} // namespace zarngi

#endif
