/**
 * @file record.h
 * A comparison as a JSON document; its members are described in docs/json.md.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_RECORD_H
#define ZARNGI_COMPARISON_DOCUMENTS_RECORD_H

#include <optional>
#include <string>

#include "comparison/comparison.h"
#include "comparison/documents/json.h"

namespace zarngi
{

/**
 * @param alias of the pair in an anonymous record, see Disclosure; none: the files are named.
 * @throws InputError as Disclosure
 */
Json comparisonJson(const Comparison& comparison, const std::optional<std::string>& alias = {});

} // namespace zarngi

#endif
