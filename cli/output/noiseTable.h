/**
 * @file noiseTable.h
 * What statistical noise does, as it is printed.
 */
#ifndef ZARNGI_CLI_OUTPUT_NOISETABLE_H
#define ZARNGI_CLI_OUTPUT_NOISETABLE_H

#include <string>

#include "comparison/comparison.h"

namespace zarngi
{

/** @param comparison with what noise does */
std::string describeNoise(const Comparison& comparison);

} // namespace zarngi

#endif
