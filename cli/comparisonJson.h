/**
 * @file comparisonJson.h
 * A comparison as a JSON document; its members are described in docs/json.md.
 */
#ifndef ZARNGI_CLI_COMPARISONJSON_H
#define ZARNGI_CLI_COMPARISONJSON_H

#include <nlohmann/json_fwd.hpp>

#include "comparison.h"

namespace cli
{

nlohmann::ordered_json comparisonJson(const Comparison& comparison);

} // namespace cli

#endif
