/**
 * @file measurementJson.h
 * Planes, points and how they were compared, as parts of JSON documents.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_MEASUREMENTJSON_H
#define ZARNGI_COMPARISON_DOCUMENTS_MEASUREMENTJSON_H

#include "comparison/comparison.h"
#include "comparison/documents/disclosure.h"
#include "comparison/documents/json.h"
#include "comparison/doseUncertainty.h"

namespace zarngi
{

/** What a file of measured places holds; null: a volume. */
Json measurementJson(const DoseImage& dose);

/** How certain the doses of a file are. */
Json uncertaintyJson(const UncertaintySummary& summary);

/** Adds to the record of a comparison what it has of measurements, sums, factors and places. */
void addMeasurements(Json& document, const Comparison& comparison, const Disclosure& disclosure);

} // namespace zarngi

#endif
