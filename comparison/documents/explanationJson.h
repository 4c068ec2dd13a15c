/**
 * @file explanationJson.h
 * An explanation as part of JSON documents; docs/json.md describes the members.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_EXPLANATIONJSON_H
#define ZARNGI_COMPARISON_DOCUMENTS_EXPLANATIONJSON_H

#include <optional>
#include <string>
#include <vector>

#include "comparison/documents/json.h"
#include "comparison/explanation/explanation.h"

namespace zarngi
{

Json explanationJson(const Explanation& explanation);

/** What is to be explained, of doses that are there already. */
struct ExplanationOptions {
    ExplanationRequest request;        ///< its parts are not filled in
    std::string within;                ///< what the tested part is called; empty: not told
    std::vector<std::string> shown;    ///< expressions for structures, as of `--structures`
    std::vector<std::string> excluded; ///< patterns of structures that are left out
};

/** None where the text is no such document, a member is missing or of another type. */
std::optional<ExplanationOptions> explanationOptionsOf(const std::string& document);

} // namespace zarngi

#endif
