/**
 * @file selfTestJson.h
 * The record of an acceptance test.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_SELFTESTJSON_H
#define ZARNGI_COMPARISON_DOCUMENTS_SELFTESTJSON_H

#include <string>
#include <vector>

#include "comparison/documents/json.h"
#include "comparison/fileDigest.h"
#include "comparison/selfTest/selfTest.h"

namespace zarngi
{

/** What was tested, and where. */
struct Installation {
    struct File {
        std::string name;
        FileDigest digest;
    };
    std::string system;
    std::string processor;
    std::vector<File> files; ///< the program and its libraries, as far as they can be read
};

Json selfTestJson(const SelfTest& test, const Installation& installation);

} // namespace zarngi

#endif
