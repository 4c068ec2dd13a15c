/**
 * @file readStructures.h
 * Structures from a file of any supported format.
 */
#ifndef ZARNGI_CLI_COMMANDS_READSTRUCTURES_H
#define ZARNGI_CLI_COMMANDS_READSTRUCTURES_H

#include <string>

#include "comparison/fileDigest.h"
#include "files/structures/structureSet.h"

namespace zarngi
{

/**
 * Reads an RT Structure Set or a label mask, with the digests of the files that were read.
 * @throws InputError whose text begins with the path.
 */
files::StructureSet readStructures(const std::string& path, FileDigests& digests);

} // namespace zarngi

#endif
