/**
 * @file evaluationDocuments.h
 * One dose in structures as documents; docs/json.md describes the members.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_EVALUATIONDOCUMENTS_H
#define ZARNGI_COMPARISON_DOCUMENTS_EVALUATIONDOCUMENTS_H

#include <optional>
#include <string>

#include "comparison/documents/json.h"
#include "comparison/doseEvaluation.h"

namespace zarngi
{

/**
 * Everything about it.
 * @param alias of the dose in an anonymous document, see Disclosure; none: the files are named.
 */
Json evaluationJson(const DoseEvaluation& evaluation, const std::optional<std::string>& alias);

/** A line of names, one for each structure, and one for each goal in a structure. */
std::string evaluationCsv(const DoseEvaluation& evaluation,
                          const std::optional<std::string>& alias);

} // namespace zarngi

#endif
