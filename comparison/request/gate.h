/**
 * @file gate.h
 * The names of warnings that a request can make refusals.
 */
#ifndef ZARNGI_COMPARISON_REQUEST_GATE_H
#define ZARNGI_COMPARISON_REQUEST_GATE_H

#include <string>
#include <vector>

namespace zarngi
{

/** What makes a comparison doubtful as a whole. */
enum class Gate {
    identicalDoses,
    otherPatient,
    otherPatientStructures,
    otherPatientPlan,
    maximaRatio,
    unreached,
    littleOverlap,
    negativeDoses,
    guessedReference
};

/** As requests and documents have it: "identical-doses". */
const char* gateName(Gate gate);

/** Each once. @throws UsageError at the one of Member::refuse that is no name of a warning */
std::vector<Gate> parseGates(const std::vector<std::string>& texts);

std::vector<std::string> textsOf(const std::vector<Gate>& gates);

} // namespace zarngi

#endif
