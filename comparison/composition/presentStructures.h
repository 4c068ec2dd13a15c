/**
 * @file presentStructures.h
 * A request that many pairs share, for a pair that does not have all of its structures.
 */
#ifndef ZARNGI_COMPARISON_COMPOSITION_PRESENTSTRUCTURES_H
#define ZARNGI_COMPARISON_COMPOSITION_PRESENTSTRUCTURES_H

#include <memory>
#include <vector>

#include "comparison/doseSource.h"
#include "comparison/request/request.h"
#include "comparison/sentence.h"
#include "comparison/structures/structureCatalogue.h"

namespace zarngi
{

/**
 * What is asked, less the names to show or to exclude, and the criteria and limits of structures,
 * that mean none. What decides which voxels are tested stays, so that it is refused.
 * @param catalogue of the pair; null: it has no structures.
 * @param warnings takes a line for each name that was left out.
 * @throws UsageError where no criterion is left
 */
Request presentPart(Request request, const StructureCatalogue* catalogue,
                    std::vector<Sentence>& warnings);

/** presentPart() for a request that may name structures, where there are no files of them. */
void leaveOutStructures(Request& request, std::vector<Sentence>& warnings);

/**
 * The structures of all files that are asked for; null where none are. What is asked of them is
 * narrowed to those that are there, if it may be.
 * @throws UsageError, InputError as catalogueOf() and presentPart()
 */
std::shared_ptr<const StructureCatalogue>
presentCatalogue(Request& request, DoseSource& source, const std::vector<const DoseImage*>& doses,
                 std::vector<Sentence>& warnings);

} // namespace zarngi

#endif
