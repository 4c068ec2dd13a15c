/**
 * @file readStructures.h
 * Structures from a file of any supported format, and what else a file may hold.
 */
#ifndef ZARNGI_CLI_COMMANDS_READSTRUCTURES_H
#define ZARNGI_CLI_COMMANDS_READSTRUCTURES_H

#include <string>

#include "comparison/fileDigest.h"
#include "files/host.h"
#include "files/readAnyFile.h"
#include "files/structures/structureSet.h"

namespace zarngi
{

/**
 * Reads a DICOM RT Structure Set or a label mask, and digests of what was read where they are asked
 * for.
 * @throws InputError whose text begins with the path.
 */
files::StructureSet readStructures(const std::string& path, FileDigests* digests);

/**
 * Reads a dose file, with its uncertainty, an RT Structure Set, or a plan.
 * @throws InputError whose text begins with the path.
 */
files::AnyContents readAnyFile(const std::string& path, FileDigests* digests,
                               const files::TableUnits& units);

} // namespace zarngi

#endif
