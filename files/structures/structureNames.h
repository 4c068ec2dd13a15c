/**
 * @file structureNames.h
 * Names by which a user tells the structures of a set apart.
 */
#ifndef ZARNGI_FILES_STRUCTURES_STRUCTURENAMES_H
#define ZARNGI_FILES_STRUCTURES_STRUCTURENAMES_H

#include <vector>

#include "files/structures/structureSet.h"

namespace files
{

/** Puts the number of each structure behind its name where several have one: "PTV (3)". */
void makeNamesUnique(std::vector<Structure>& structures);

} // namespace files

#endif
