/**
 * @file failureJson.h
 * Why there is no answer, for a page that has words of its own; messages.ts has the members.
 */
#ifndef ZARNGI_WEB_ENGINE_FAILUREJSON_H
#define ZARNGI_WEB_ENGINE_FAILUREJSON_H

#include "comparison/documents/json.h"
#include "comparison/failure.h"

namespace engine
{

/** As `kind` of the messages tells it. */
const char* kindName(zarngi::FailureKind kind);

zarngi::Json failureJson(const zarngi::UsageError& error);
zarngi::Json failureJson(const zarngi::InputError& error);

/** Of which there is a sentence only. @param kind "memory" or "internal" */
zarngi::Json failureJson(const char* kind, const char* sentence);

} // namespace engine

#endif
