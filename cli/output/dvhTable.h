/**
 * @file dvhTable.h
 * One dose in structures as text for a person at a terminal.
 */
#ifndef ZARNGI_CLI_OUTPUT_DVHTABLE_H
#define ZARNGI_CLI_OUTPUT_DVHTABLE_H

#include <string>

#include "comparison/doseEvaluation.h"

namespace zarngi
{

std::string describeDvh(const DoseEvaluation& evaluation);

} // namespace zarngi

#endif
