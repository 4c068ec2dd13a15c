/**
 * @file selfTestPage.h
 * The record of an acceptance test as a page to print, sign and keep.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_SELFTESTPAGE_H
#define ZARNGI_COMPARISON_DOCUMENTS_SELFTESTPAGE_H

#include <string>

#include "comparison/documents/json.h"

namespace zarngi
{

/** @param record what selfTestJson() tells */
std::string selfTestPage(const Json& record);

} // namespace zarngi

#endif
