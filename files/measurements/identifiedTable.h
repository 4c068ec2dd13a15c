/**
 * @file identifiedTable.h
 * Which kind of table a text is.
 */
#ifndef ZARNGI_FILES_MEASUREMENTS_IDENTIFIEDTABLE_H
#define ZARNGI_FILES_MEASUREMENTS_IDENTIFIEDTABLE_H

#include <optional>
#include <string_view>

#include "files/fileFormat.h"

namespace files
{

/** What a text begins like: a detector array, an extracted plane or a table, if like any. */
std::optional<FileFormat> identifiedTable(std::string_view beginning);

} // namespace files

#endif
