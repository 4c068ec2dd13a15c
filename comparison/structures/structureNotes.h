/**
 * @file structureNotes.h
 * What a person should know of a structure, in words.
 */
#ifndef ZARNGI_COMPARISON_STRUCTURES_STRUCTURENOTES_H
#define ZARNGI_COMPARISON_STRUCTURES_STRUCTURENOTES_H

#include <string>
#include <vector>

#include "comparison/structures/structureComparison.h"

namespace zarngi
{

/**
 * Each continues "NAME: ": what was left out, what no voxel stands for, gaps.
 * @param row       with everything else filled.
 * @param subPoints of the structure.
 */
std::vector<std::string> structureNotes(const StructureRow& row, std::size_t subPoints,
                                        const StructureCatalogue& catalogue, const Geometry& grid);

} // namespace zarngi

#endif
