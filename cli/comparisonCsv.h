/**
 * @file comparisonCsv.h
 * A comparison as a table for spreadsheets.
 */
#ifndef ZARNGI_CLI_COMPARISONCSV_H
#define ZARNGI_CLI_COMPARISONCSV_H

#include <string>

#include "comparison.h"

namespace cli
{

/** A line of names and one line per criterion, after RFC 4180; empty where there is no value. */
std::string comparisonCsv(const Comparison& comparison);

} // namespace cli

#endif
