/**
 * @file readDose.h
 * A dose distribution from a file of any supported format.
 */
#ifndef ZARNGI_CLI_COMMANDS_READDOSE_H
#define ZARNGI_CLI_COMMANDS_READDOSE_H

#include <string>

#include "comparison/doseImage.h"
#include "comparison/fileDigest.h"
#include "files/readDose.h"

namespace zarngi
{

/**
 * Reads a dose file; the format is told from its contents.
 * @throws InputError whose text begins with the path.
 */
DoseImage readDose(const std::string& path, const files::TableUnits& units = {});

/** The same, with the digests of the files that were read. @throws InputError likewise. */
DoseImage readDose(const std::string& path, FileDigests& digests,
                   const files::TableUnits& units = {});

} // namespace zarngi

#endif
