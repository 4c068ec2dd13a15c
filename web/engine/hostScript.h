/**
 * @file hostScript.h
 * What the engine is handed by the script around it: DEFLATE, base64 and SHA-256, the contents of
 * files, and who is told of a search. host.ts is the script's side.
 */
#ifndef ZARNGI_WEB_ENGINE_HOSTSCRIPT_H
#define ZARNGI_WEB_ENGINE_HOSTSCRIPT_H

#include <string>

#include "comparison/criterion.h"
#include "comparison/documents/pagePacking.h"
#include "comparison/gammaRun.h"
#include "files/bytes.h"
#include "files/deflate.h"
#include "files/error.h"

namespace engine
{

/** Raw DEFLATE by the script's library. */
const files::Deflate& scriptDeflate();

const zarngi::PagePacking& scriptPacking();

/** The contents of a file that the page was given. */
files::Result<files::Bytes> contentsOf(const std::string& path);

bool exists(const std::string& path);

/** Bytes that came with a call, in the order in which they came. */
std::size_t handedBytes(int which);
/** Puts them, all of which there is place for, where they are wanted. */
void takeHanded(int which, void* place);

/** Tells the script how far the search for a criterion is. */
void tellProgress(const zarngi::Criterion& criterion, const zarngi::SearchProgress& progress);

/** Tells the script how far other work is. @param share that is done, 0 to 1 */
void tellWork(const std::string& title, double share);

} // namespace engine

#endif
