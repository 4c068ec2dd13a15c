/**
 * @file readDose.h
 * The one reader of dose files: bytes in, a dose or one sentence out.
 *
 * Safe to be called by several threads at once; starts no process and keeps no state.
 */
#ifndef ZARNGI_FILES_READDOSE_H
#define ZARNGI_FILES_READDOSE_H

#include <string>

#include "files/bytes.h"
#include "files/deflate.h"
#include "files/doseImage.h"
#include "files/error.h"
#include "files/host.h"

namespace files
{

/**
 * Reads a dose from the contents of a file: a volume, a plane or points. Its values may go on in
 * the block that holds the contents, where that is given. `find` fetches the files that it names.
 * @param name of the file, whose end may tell that its values are no doses; may be empty.
 */
Result<DoseImage> readDose(const Contents& file, const std::string& name, const FindFile& find,
                           const Host& host);

/** Reads a dose file, and the file that it names beside it; a pipe is read to its end. */
Result<DoseImage> readDoseFile(const std::string& path, const Host& host);

/** Tells by the beginning of a file whether to read on. @throws Refusal when it is no dose file. */
void checkMayBeDose(ByteView beginning, const Deflate& deflate);

} // namespace files

#endif
