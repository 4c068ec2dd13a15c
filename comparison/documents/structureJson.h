/**
 * @file structureJson.h
 * Structures as part of a comparison's JSON document; docs/json.md describes the members.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_STRUCTUREJSON_H
#define ZARNGI_COMPARISON_DOCUMENTS_STRUCTUREJSON_H

#include <vector>

#include "comparison/comparison.h"
#include "comparison/documents/disclosure.h"
#include "comparison/documents/json.h"

namespace zarngi
{

/** The structures themselves: where they come from, volumes, doses. */
Json structuresJson(const StructureComparison& structures, const Disclosure& disclosure);

/** Adds what a criterion found in each of them. */
void addStructures(Json& criterion, const CriterionResult& result,
                   const std::vector<StructureRow>& rows);

} // namespace zarngi

#endif
