/**
 * @file requestJson.h
 * A request as a JSON document; docs/request.md describes its members.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_REQUESTJSON_H
#define ZARNGI_COMPARISON_DOCUMENTS_REQUESTJSON_H

#include <string_view>

#include "comparison/documents/json.h"
#include "comparison/request/request.h"

namespace zarngi
{

/** All members; threads and reports, which change no result, are none of them. */
Json requestJson(const Request& request);

/**
 * The request of a document. Each member must be there: what is left out would be decided in
 * silence.
 * @param document that requestJson() made, or a person wrote.
 * @throws UsageError for a member that is missing, unknown, of another type or out of range
 */
Request requestOf(const Json& document);

/**
 * The request of a text, which is that of a request, or of a record, which holds one.
 * @throws UsageError where requestOf() does, and for a text that is no JSON
 */
Request requestOfText(std::string_view text);

} // namespace zarngi

#endif
