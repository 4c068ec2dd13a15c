/**
 * @file reportPage.h
 * The HTML report of a comparison, or of one dose; web/README.md describes how the page carries its
 * data.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_REPORTPAGE_H
#define ZARNGI_COMPARISON_DOCUMENTS_REPORTPAGE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "comparison/comparison.h"
#include "comparison/documents/json.h"
#include "comparison/documents/pagePacking.h"

namespace zarngi
{

/** Decimals of both doses in the page: the same, so that their difference is exact. */
int pageDoseDecimals(const Comparison& comparison);

/**
 * Doses as the page stores them; a mark where there is no detector.
 * @param first, count which voxels; all from the first on where there are not as many
 */
std::vector<std::int16_t> pageDoses(const DoseImage& dose, int decimals, std::size_t first = 0,
                                    std::size_t count = std::numeric_limits<std::size_t>::max());

/** Differences in units of their uncertainty as the page stores them, of a comparison with noise.
 */
std::vector<std::int16_t> pageDifferences(const Comparison& comparison);

/** Whether a page has a place for its data. */
bool isPageTemplate(std::string_view text);

/** The page of one dose in structures. @param document its JSON */
std::string evaluationPage(const Json& document, std::string_view pageTemplate);

/** Gives storedGammas() of a criterion. */
using StoredGammasOf = std::function<std::vector<std::int16_t>(std::size_t criterion)>;

/**
 * The page with the data of a comparison.
 * @param record its JSON
 * @param gammasOf where its results do not keep their maps
 */
std::string reportPage(const Comparison& comparison, const Json& record,
                       std::string_view pageTemplate, const PagePacking& packing,
                       const StoredGammasOf& gammasOf = {});

} // namespace zarngi

#endif
