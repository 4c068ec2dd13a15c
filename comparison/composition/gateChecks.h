/**
 * @file gateChecks.h
 * What makes a comparison doubtful as a whole: warnings with names, which a request can refuse.
 */
#ifndef ZARNGI_COMPARISON_COMPOSITION_GATECHECKS_H
#define ZARNGI_COMPARISON_COMPOSITION_GATECHECKS_H

#include "comparison/comparison.h"

namespace zarngi
{

/** Files whose Patient IDs are compared, and never told. */
struct PatientFiles {
    std::vector<const DoseImage*> doses;
    const StructureCatalogue* structures = nullptr;
    const std::vector<ComparedPlan>& plans;
};

/** Adds what says that they are not all of one patient. @throws InputError for what is refused */
void checkPatients(std::vector<GateWarning>& gate, const std::vector<Gate>& refused,
                   const PatientFiles& given);

/** Adds what doses and structures tell. @throws InputError for the first that the request refuses
 */
void checkDoseGate(Comparison& comparison);

/** Adds what the results tell. @throws InputError where the request refuses it */
void checkResultGate(Comparison& comparison, const std::vector<CriterionResult>& results);

} // namespace zarngi

#endif
