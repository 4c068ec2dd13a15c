/**
 * @file requestJson.h
 * What a page asks of a comparison; messages.ts has the members.
 */
#ifndef ZARNGI_WEB_ENGINE_REQUESTJSON_H
#define ZARNGI_WEB_ENGINE_REQUESTJSON_H

#include <nlohmann/json_fwd.hpp>

#include "comparison/fileDigest.h"
#include "comparison/request/comparisonRequest.h"

namespace engine
{

/** @throws zarngi::UsageError in the words of the command line */
zarngi::ComparisonRequest requestOf(const nlohmann::ordered_json& json);

zarngi::FileDigests digestsOf(const nlohmann::ordered_json& json);

} // namespace engine

#endif
