/**
 * @file readStructures.h
 * Structures from a file of any supported format.
 */
#ifndef ZARNGI_CLI_COMMANDS_READSTRUCTURES_H
#define ZARNGI_CLI_COMMANDS_READSTRUCTURES_H

#include <string>
#include <variant>

#include "comparison/doseImage.h"
#include "comparison/fileDigest.h"
#include "files/host.h"
#include "files/structures/structureSet.h"

namespace zarngi
{

/**
 * Reads a DICOM RT Structure Set or a label mask, and digests of what was read where they are asked
 * for.
 * @throws InputError whose text begins with the path.
 */
files::StructureSet readStructures(const std::string& path, FileDigests* digests);

using Contents = std::variant<DoseImage, files::StructureSet>;

/**
 * Reads a dose file, with its uncertainty, or an RT Structure Set.
 * @throws InputError whose text begins with the path.
 */
Contents readDoseOrStructures(const std::string& path, FileDigests* digests,
                              const files::TableUnits& units);

} // namespace zarngi

#endif
