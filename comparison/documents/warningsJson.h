/**
 * @file warningsJson.h
 * Warnings as part of JSON documents; docs/json.md describes the members.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_WARNINGSJSON_H
#define ZARNGI_COMPARISON_DOCUMENTS_WARNINGSJSON_H

#include <vector>

#include "comparison/comparison.h"
#include "comparison/documents/json.h"
#include "comparison/sentence.h"

namespace zarngi
{

Json warningsJson(const std::vector<Sentence>& warnings, const Wording& wording);

/** With their names. */
Json gateJson(const std::vector<GateWarning>& gate, const Wording& wording);

} // namespace zarngi

#endif
