/**
 * @file structureTable.h
 * The structures of a comparison as text for a person at a terminal.
 */
#ifndef ZARNGI_CLI_OUTPUT_STRUCTURETABLE_H
#define ZARNGI_CLI_OUTPUT_STRUCTURETABLE_H

#include <string>
#include <vector>

#include "comparison/comparison.h"

namespace zarngi
{

/** Structures, volumes and figures; differences where there are two doses. */
std::string describeDoses(const StructureComparison& structures,
                          const std::vector<DoseMetric>& asked, DoseUnit unit);

/** What a person should know of structures, and those that were left out. */
std::string describeNotes(const StructureComparison& structures);

/** A table for each criterion, the lowest pass rates first; the doses; notes. */
std::string describeStructures(const Comparison& comparison);

} // namespace zarngi

#endif
