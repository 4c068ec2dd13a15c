/**
 * @file record.h
 * A comparison as a JSON document; its members are described in docs/json.md.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_RECORD_H
#define ZARNGI_COMPARISON_DOCUMENTS_RECORD_H

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>

#include "comparison/comparison.h"

namespace zarngi
{

/**
 * @param alias of the pair in an anonymous record, see Disclosure; none: the files are named.
 * @throws InputError as Disclosure
 */
nlohmann::ordered_json comparisonJson(const Comparison& comparison,
                                      const std::optional<std::string>& alias = {});

} // namespace zarngi

#endif
