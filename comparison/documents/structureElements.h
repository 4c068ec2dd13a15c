/**
 * @file structureElements.h
 * Structures as the report page carries them; web/README.md describes the elements.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_STRUCTUREELEMENTS_H
#define ZARNGI_COMPARISON_DOCUMENTS_STRUCTUREELEMENTS_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "comparison/documents/json.h"
#include "comparison/documents/pagePacking.h"
#include "comparison/structures/structureComparison.h"

namespace zarngi
{

/** An element of the page that carries binary data. */
struct PageElement {
    std::string id;
    std::function<std::string()> content; ///< as it stands in the page
};

/** Quadruples of z, y, begin, end. */
std::vector<std::int32_t> storedRuns(const files::Runs& runs);

/**
 * For each contour the number of its vertices and its height, then x and y of each vertex, the
 * first as it is, the others less those of the one before; all in micrometres. What is farther
 * than 2 km away is moved there.
 */
std::vector<std::int32_t> storedContours(const std::vector<files::Contour>& contours);

/**
 * Elements for voxels and contours of each structure.
 * @param packing outlives the elements.
 * @param list the structures of the page's document, which get the elements' names.
 */
void addStructureElements(std::vector<PageElement>& elements, Json& list,
                          const StructureComparison& structures, const PagePacking& packing);

} // namespace zarngi

#endif
