/**
 * @file csv.h
 * A comparison as a table for spreadsheets.
 */
#ifndef ZARNGI_COMPARISON_CSV_H
#define ZARNGI_COMPARISON_CSV_H

#include <string>

#include "comparison/comparison.h"

namespace zarngi
{

/** A line of names and one line per criterion, after RFC 4180; empty where there is no value. */
std::string comparisonCsv(const Comparison& comparison);

} // namespace zarngi

#endif
