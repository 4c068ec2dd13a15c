/**
 * @file comparisonJson.h
 * A comparison as a JSON document; its members are described in docs/json.md.
 */
#ifndef ZARNGI_CLI_COMPARISONJSON_H
#define ZARNGI_CLI_COMPARISONJSON_H

#include <nlohmann/json_fwd.hpp>

#include <string>

#include "comparison.h"

namespace cli
{

/** @throws InputError when an input file cannot be read again for its digest. */
nlohmann::ordered_json comparisonJson(const Comparison& comparison);

/** The document as text; numbers that are not finite are null, stray bytes are replaced. */
std::string toText(const nlohmann::ordered_json& document, int indent);

} // namespace cli

#endif
