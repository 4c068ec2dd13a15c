/**
 * @file pairNames.h
 * The names of files that belong together: headers and the data beside them.
 */
#ifndef ZARNGI_FILES_PAIRNAMES_H
#define ZARNGI_FILES_PAIRNAMES_H

#include <functional>
#include <optional>
#include <string>

namespace files
{

/** Whether the host has a file of that path. */
using Exists = std::function<bool(const std::string& path)>;

/** The header beside a path that ends in .img, where the host has one. */
std::optional<std::string> headerBeside(const std::string& path, const Exists& exists);

/** The data file of a NIfTI pair, or what it would be called. @throws Refusal by its header's name
 */
std::string dataOfPair(const std::string& header, const Exists& exists);

/** The path of a name that stands in a header. @throws Refusal */
std::string pathBeside(const std::string& header, const std::string& name);

/** Why data beside a header cannot be had. @param reason a sentence about the file, or empty */
std::string sentenceAboutData(const std::string& path, const std::string& reason);

} // namespace files

#endif
