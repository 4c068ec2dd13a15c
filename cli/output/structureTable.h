/**
 * @file structureTable.h
 * The structures of a comparison as text for a person at a terminal.
 */
#ifndef ZARNGI_CLI_OUTPUT_STRUCTURETABLE_H
#define ZARNGI_CLI_OUTPUT_STRUCTURETABLE_H

#include <string>

#include "comparison/comparison.h"

namespace zarngi
{

/** A table for each criterion, the lowest pass rates first; the doses; notes. */
std::string describeStructures(const Comparison& comparison);

} // namespace zarngi

#endif
