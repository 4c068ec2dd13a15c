/**
 * @file selfTestJson.h
 * The record of an acceptance test.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_SELFTESTJSON_H
#define ZARNGI_COMPARISON_DOCUMENTS_SELFTESTJSON_H

#include "comparison/documents/json.h"
#include "comparison/selfTest/installation.h"
#include "comparison/selfTest/selfTest.h"

namespace zarngi
{

Json selfTestJson(const SelfTest& test, const Installation& installation);

} // namespace zarngi

#endif
