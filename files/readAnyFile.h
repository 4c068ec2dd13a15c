/**
 * @file readAnyFile.h
 * What a file holds, whatever it is: a dose, structures, or a treatment plan.
 */
#ifndef ZARNGI_FILES_READANYFILE_H
#define ZARNGI_FILES_READANYFILE_H

#include <string>
#include <variant>

#include "files/doseImage.h"
#include "files/error.h"
#include "files/host.h"
#include "files/plans/plan.h"
#include "files/structures/structureSet.h"

namespace files
{

using AnyContents = std::variant<DoseImage, StructureSet, Plan>;

/**
 * Reads an RT Structure Set or a plan where a file begins like one, else a dose file; a pipe is
 * read to its end.
 */
Result<AnyContents> readAnyFile(const std::string& path, const Host& host);

} // namespace files

#endif
