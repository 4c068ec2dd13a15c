/**
 * @file partJson.h
 * A part of a search as it travels between the engines of a page.
 */
#ifndef ZARNGI_WEB_ENGINE_PARTJSON_H
#define ZARNGI_WEB_ENGINE_PARTJSON_H

#include "comparison/documents/json.h"
#include "comparison/partSearch.h"

namespace engine
{

zarngi::Json partJson(const zarngi::SearchPart& part);

/** @throws zarngi::Json::exception */
zarngi::SearchPart partOf(const zarngi::Json& json);

} // namespace engine

#endif
