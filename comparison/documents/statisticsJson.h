/**
 * @file statisticsJson.h
 * Counts and statistics of gamma as members of JSON documents.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_STATISTICSJSON_H
#define ZARNGI_COMPARISON_DOCUMENTS_STATISTICSJSON_H

#include "comparison/documents/json.h"
#include "comparison/gammaStatistics.h"

namespace zarngi
{

/** Counts, pass rate and the spread of gamma, null where there is none. */
Json statisticsJson(const GammaStatistics& statistics);

/** Null where there is none. */
Json histogramJson(const GammaStatistics& statistics);

} // namespace zarngi

#endif
