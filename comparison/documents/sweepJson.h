/**
 * @file sweepJson.h
 * Pass rates by criterion as part of JSON documents; docs/json.md describes the members.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_SWEEPJSON_H
#define ZARNGI_COMPARISON_DOCUMENTS_SWEEPJSON_H

#include "comparison/documents/json.h"
#include "comparison/sweep/sweep.h"

namespace zarngi
{

Json sweepJson(const Sweep& sweep);

} // namespace zarngi

#endif
