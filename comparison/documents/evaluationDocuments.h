/**
 * @file evaluationDocuments.h
 * One dose in structures as documents; docs/json.md describes the members.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_EVALUATIONDOCUMENTS_H
#define ZARNGI_COMPARISON_DOCUMENTS_EVALUATIONDOCUMENTS_H

#include <string>

#include "comparison/documents/json.h"
#include "comparison/doseEvaluation.h"

namespace zarngi
{

/** Everything about it. */
Json evaluationJson(const DoseEvaluation& evaluation);

/** A line of names, one for each structure, and one for each goal in a structure. */
std::string evaluationCsv(const DoseEvaluation& evaluation);

} // namespace zarngi

#endif
