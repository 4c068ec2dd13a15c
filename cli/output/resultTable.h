/**
 * @file resultTable.h
 * A comparison as text for a person at a terminal.
 */
#ifndef ZARNGI_CLI_OUTPUT_RESULTTABLE_H
#define ZARNGI_CLI_OUTPUT_RESULTTABLE_H

#include <string>

#include "comparison/comparison.h"

namespace zarngi
{

/** What is compared, and how: lines ended by line ends. */
std::string describeSetup(const Comparison& comparison);

/** The results: a block for one criterion, a table with a row each for several. */
std::string describeResults(const Comparison& comparison);

/** A line of the protocol by which something was asked; empty where there is none. */
std::string describeProtocol(const Request& asked);

} // namespace zarngi

#endif
