/**
 * @file statisticsJson.h
 * Counts and statistics of gamma as members of JSON documents.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_STATISTICSJSON_H
#define ZARNGI_COMPARISON_DOCUMENTS_STATISTICSJSON_H

#include <nlohmann/json_fwd.hpp>

#include "comparison/gammaStatistics.h"

namespace zarngi
{

/** Counts, pass rate and the spread of gamma, null where there is none. */
nlohmann::ordered_json statisticsJson(const GammaStatistics& statistics);

/** Null where there is none. */
nlohmann::ordered_json histogramJson(const GammaStatistics& statistics);

} // namespace zarngi

#endif
