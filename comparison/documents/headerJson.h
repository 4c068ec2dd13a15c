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

/** What tells whose plan it is. */
struct HeaderFiles {
    std::vector<const DoseImage*> doses;
    const std::vector<ComparedPlan>& plans;
};

HeaderFiles headerFilesOf(const Comparison& comparison);

/** What they say of patient and plan, where nothing was given. */
Header headerOf(const HeaderFiles& files);

/** What a document tells. @param request whose header stands in place of what the files say */
Header toldHeader(const HeaderFiles& files, const Request& request, const Disclosure& disclosure);

/** mm, each once: of the beams that documents tell of, in the space of the doses. */
std::vector<Vec3> isocentresOf(const Comparison& comparison);

/** All fields; null where there is nothing to tell. */
Json headerJson(const Header& header);

/** Files of plans, and whether they are those of the doses. */
Json plansJson(const std::vector<ComparedPlan>& plans, const Disclosure& disclosure);

} // namespace zarngi

#endif
