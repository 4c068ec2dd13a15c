/**
 * @file csv.h
 * A comparison as a table for spreadsheets.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_CSV_H
#define ZARNGI_COMPARISON_DOCUMENTS_CSV_H

#include <optional>
#include <string>

#include "comparison/comparison.h"

namespace zarngi
{

/**
 * A line of names and one line per criterion, after RFC 4180; empty where there is no value.
 * @param alias of the pair in an anonymous table, see Disclosure; none: the files are named.
 * @throws InputError as Disclosure
 */
std::string comparisonCsv(const Comparison& comparison,
                          const std::optional<std::string>& alias = {});

} // namespace zarngi

#endif
