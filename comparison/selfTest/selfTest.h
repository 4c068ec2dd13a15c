/**
 * @file selfTest.h
 * The acceptance test of an installation: what comes out here is held to what is known.
 *
 * What is wanted is worked by hand, told by a closed form, or found by the plain definition of the
 * search; it was never recorded from the code that is tested.
 */
#ifndef ZARNGI_COMPARISON_SELFTEST_SELFTEST_H
#define ZARNGI_COMPARISON_SELFTEST_SELFTEST_H

#include <functional>
#include <string>
#include <vector>

#include "files/deflate.h"

namespace zarngi
{

/** One thing that is held to what is known. */
struct SelfTestCase {
    std::string part; ///< "search", "gamma", "files" or "structures"
    std::string name;
    std::string wanted;
    std::string found;
    bool isPassed = false;
};

/** A set of instructions that searches are compiled for. */
struct TestedPath {
    std::string name;
    bool isSupported = false; ///< by this processor; else it was not tested
};

struct SelfTest {
    std::vector<TestedPath> paths;
    std::vector<SelfTestCase> cases;
    double seconds = 0;
    bool isWhole = true; ///< else its watcher ended it

    bool isPassed() const;
};

/** What hosts differ in. */
struct SelfTestHost {
    const files::Deflate& deflate;
    int threads = 1; ///< that find by the definition what is wanted
};

/** Told the part that is done, 0 to 1; returns whether to go on. */
using WatchSelfTest = std::function<bool(double)>;

/** Takes over the one environment of the library; some seconds long. @param watch may be empty */
SelfTest selfTest(const SelfTestHost& host, const WatchSelfTest& watch = {});

} // namespace zarngi

#endif
