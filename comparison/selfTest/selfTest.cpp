#include "comparison/selfTest/selfTest.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <exception>
#include <utility>

#include "comparison/selfTest/cases.h"
#include "comparison/text.h"
#include "libZarnGI.h"

namespace zarngi
{

namespace selftest
{

SelfTestCase exactCase(std::string part, std::string name, std::string wanted, std::string found)
{
    const bool isPassed = wanted == found;
    return {std::move(part), std::move(name), std::move(wanted), std::move(found), isPassed};
}

SelfTestCase nearCase(std::string part, std::string name, double wanted, double found,
                      double tolerance)
{
    std::string text = number(wanted);
    text += ", at most " + number(tolerance) + " off";
    return {std::move(part), std::move(name), std::move(text), exactNumber(found),
            std::fabs(found - wanted) <= tolerance};
}

} // namespace selftest

namespace
{

std::vector<TestedPath> vectorPaths()
{
    std::vector<TestedPath> paths;
    const char* name = nullptr;
    int isSupported = 0;
    for (int i = 0; zarnGI_getVectorPath(i, &name, &isSupported) == ZARNGI_OK; ++i) {
        paths.push_back({name, isSupported != 0});
    }
    return paths;
}

/** A part that ends early has failed, and is told as one case. */
template <class Part> void add(SelfTest& test, const char* name, const Part& part)
{
    try {
        for (SelfTestCase& one : part()) {
            test.cases.push_back(std::move(one));
        }
    } catch (const std::exception& failure) {
        test.cases.push_back({name, "all of it", "no failure", failure.what(), false});
    }
}

} // namespace

bool SelfTest::isPassed() const
{
    return isWhole && !cases.empty() &&
           std::all_of(cases.begin(), cases.end(), std::mem_fn(&SelfTestCase::isPassed));
}

SelfTest selfTest(const SelfTestHost& host, const WatchSelfTest& watch)
{
    const auto start = std::chrono::steady_clock::now();
    SelfTest test;
    test.paths = vectorPaths();
    add(test, "gamma", selftest::gammaCases);
    add(test, "files", [&] { return selftest::fileCases(host.deflate); });
    add(test, "structures", selftest::structureCases);
    add(test, "search", [&] {
        return selftest::searchCases(test.paths, host.threads, [&](double done) {
            test.isWhole = !watch || watch(done);
            return test.isWhole;
        });
    });
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    test.seconds = elapsed.count();
    return test;
}

} // namespace zarngi
