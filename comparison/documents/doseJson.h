/**
 * @file doseJson.h
 * A dose file as part of JSON documents.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_DOSEJSON_H
#define ZARNGI_COMPARISON_DOCUMENTS_DOSEJSON_H

#include <string>

#include "comparison/documents/disclosure.h"
#include "comparison/documents/json.h"
#include "comparison/doseExtremes.h"
#include "comparison/doseImage.h"

namespace zarngi
{

/** Name, format, size and digest of a file, and of the one with its data where that is another. */
Json fileJson(const std::string& path, const std::string& dataPath, const std::string& format,
              const Disclosure& disclosure);

/** Name, format, size and digest of the file; of a plan its description, nothing of the patient. */
Json fileJson(const DoseImage& dose, const Disclosure& disclosure);

/** Its spacing is null across a plane whose file tells no thickness. */
Json gridJson(const DoseImage& dose, const DoseExtremes& extremes);

/** "2026-01-31T12:00:00Z": when a document is made. */
std::string nowInUtc();

/** The document as text; numbers that are not finite are null, stray bytes are replaced. */
std::string toText(const Json& document, int indent);

} // namespace zarngi

#endif
