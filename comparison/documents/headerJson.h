/**
 * @file headerJson.h
 * The header of a document: what the user gave, and what the files say where that is asked for.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_HEADERJSON_H
#define ZARNGI_COMPARISON_DOCUMENTS_HEADERJSON_H

#include <vector>

#include "comparison/comparison.h"
#include "comparison/documents/disclosure.h"
#include "comparison/documents/json.h"

namespace zarngi
{

/** What doses and plans say of patient and plan, where nothing was given. */
Header headerOfFiles(const Comparison& comparison);

/** mm, each once: of the beams that documents tell of, in the space of the doses. */
std::vector<Vec3> isocentresOf(const Comparison& comparison);

/** All fields; null where there is nothing to tell. */
Json headerJson(const Header& header);

/** What a document tells. */
Json headerJson(const Comparison& comparison, const Disclosure& disclosure);

} // namespace zarngi

#endif
