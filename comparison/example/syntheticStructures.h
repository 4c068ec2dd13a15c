/**
 * @file syntheticStructures.h
 * Structures of the made-up pair of dose distributions.
 */
#ifndef ZARNGI_COMPARISON_EXAMPLE_SYNTHETICSTRUCTURES_H
#define ZARNGI_COMPARISON_EXAMPLE_SYNTHETICSTRUCTURES_H

#include "files/structures/structureSet.h"

namespace zarngi
{

/**
 * The body, a target where the fields cross, with a canal that is spared as a hole in it, and an
 * organ beside the target. Their planes are 3 mm apart and not those of the voxels.
 */
files::StructureSet syntheticStructures();

} // namespace zarngi

#endif
