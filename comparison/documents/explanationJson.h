/**
 * @file explanationJson.h
 * An explanation as part of JSON documents; docs/json.md describes the members.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_EXPLANATIONJSON_H
#define ZARNGI_COMPARISON_DOCUMENTS_EXPLANATIONJSON_H

#include <nlohmann/json_fwd.hpp>

#include "comparison/explanation/explanation.h"

namespace zarngi
{

nlohmann::ordered_json explanationJson(const Explanation& explanation);

} // namespace zarngi

#endif
