/**
 * @file readDose.h
 * A dose distribution from a file of any supported format.
 */
#ifndef ZARNGI_CLI_READDOSE_H
#define ZARNGI_CLI_READDOSE_H

#include <functional>
#include <string>

#include "doseImage.h"
#include "files/bytes.h"

namespace cli
{

/** Is shown every file that was read for a dose, whole. */
using WatchFile = std::function<void(const std::string& path, files::ByteView contents)>;

/**
 * Reads a dose file; the format is told from its contents.
 * @throws InputError whose text begins with the path.
 */
DoseImage readDose(const std::string& path, const WatchFile& watch = {});

} // namespace cli

#endif
