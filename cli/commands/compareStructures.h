/**
 * @file compareStructures.h
 * The structures of `zarngi compare`: read, chosen, filled.
 */
#ifndef ZARNGI_CLI_COMMANDS_COMPARESTRUCTURES_H
#define ZARNGI_CLI_COMMANDS_COMPARESTRUCTURES_H

#include <memory>
#include <string>
#include <vector>

#include "cli/commands/compareOptions.h"
#include "comparison/comparison.h"

namespace zarngi
{

/**
 * Reads the files; their digests and warnings become part of the comparison, whose doses are read.
 * @throws InputError, also where their positions are not those of the doses
 */
std::shared_ptr<const StructureCatalogue> readStructureFiles(const StructureOptions& options,
                                                             Comparison& comparison);

/** Fills comparison.structures and comparison.within. @throws InputError, UsageError */
void addStructures(Comparison& comparison, std::shared_ptr<const StructureCatalogue> catalogue,
                   const CompareOptions& options);

/** Which rows the patterns of a criterion mean; all, where there is none. @throws UsageError */
std::vector<bool> rowsOf(const std::vector<std::string>& patterns,
                         const StructureComparison& structures);

} // namespace zarngi

#endif
