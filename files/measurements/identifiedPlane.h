/**
 * @file identifiedPlane.h
 * Which program wrote a text of a plane, by words that no other text has.
 */
#ifndef ZARNGI_FILES_MEASUREMENTS_IDENTIFIEDPLANE_H
#define ZARNGI_FILES_MEASUREMENTS_IDENTIFIEDPLANE_H

#include <optional>
#include <string_view>

#include "files/fileFormat.h"

namespace files
{

/**
 * What a text begins like, if like any plane or array that is told by its words. Several words tell
 * each: where one is damaged, the text is not taken for a table.
 */
std::optional<FileFormat> identifiedPlane(std::string_view beginning);

} // namespace files

#endif
