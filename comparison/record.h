/**
 * @file record.h
 * A comparison as a JSON document; its members are described in docs/json.md.
 */
#ifndef ZARNGI_COMPARISON_RECORD_H
#define ZARNGI_COMPARISON_RECORD_H

#include <nlohmann/json_fwd.hpp>

#include "comparison/comparison.h"

namespace zarngi
{

nlohmann::ordered_json comparisonJson(const Comparison& comparison);

} // namespace zarngi

#endif
