/**
 * @file noiseJson.h
 * What noise does, as part of JSON documents; docs/json.md describes the members.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_NOISEJSON_H
#define ZARNGI_COMPARISON_DOCUMENTS_NOISEJSON_H

#include <string>

#include "comparison/documents/json.h"
#include "comparison/noise/noiseEstimate.h"
#include "comparison/noise/noiseFindings.h"

namespace zarngi
{

Json noiseEstimateJson(const NoiseEstimate& estimate);

Json noiseJson(const NoiseFindings& findings);

/** "without statistical noise about 96.8 %, 95.9 to 97.6" */
std::string noiseSentence(const NoiseEstimate& estimate);

/** "told", "too noisy", "too few voxels". */
const char* kindName(NoiseEstimate::Kind kind);

} // namespace zarngi

#endif
