/**
 * @file installation.h
 * What an acceptance test was made of, and where.
 */
#ifndef ZARNGI_COMPARISON_SELFTEST_INSTALLATION_H
#define ZARNGI_COMPARISON_SELFTEST_INSTALLATION_H

#include <string>
#include <vector>

#include "comparison/fileDigest.h"

namespace zarngi
{

struct Installation {
    struct File {
        std::string name;
        FileDigest digest;
    };
    std::string system;
    std::string processor;
    std::vector<File> files; ///< the program and its libraries, as far as they can be read
};

/** This machine, with the files of these paths and the library. */
Installation thisInstallation(std::vector<std::string> paths);

} // namespace zarngi

#endif
