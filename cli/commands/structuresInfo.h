/**
 * @file structuresInfo.h
 * What a file of structures holds, as text and as JSON.
 */
#ifndef ZARNGI_CLI_COMMANDS_STRUCTURESINFO_H
#define ZARNGI_CLI_COMMANDS_STRUCTURESINFO_H

#include <string>

#include "comparison/documents/json.h"
#include "comparison/fileDigest.h"
#include "files/structures/structureSet.h"

namespace zarngi
{

/** A table that fits a terminal, and what a person should know of the structures. */
std::string describeStructures(const files::StructureSet& set);

/** The document that docs/json.md describes. */
Json structuresJson(const files::StructureSet& set, const FileDigests& digests);

} // namespace zarngi

#endif
