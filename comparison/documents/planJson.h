/**
 * @file planJson.h
 * What a file of a plan holds, as a JSON document; docs/json.md describes the members.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_PLANJSON_H
#define ZARNGI_COMPARISON_DOCUMENTS_PLANJSON_H

#include "comparison/documents/json.h"
#include "files/plans/plan.h"

namespace zarngi
{

/** @param showPatient whether it holds who the patient is, and what people wrote of it */
Json planJson(const files::Plan& plan, bool showPatient);

} // namespace zarngi

#endif
