/**
 * @file cases.h
 * The parts of the acceptance test, and how a case is judged.
 */
#ifndef ZARNGI_COMPARISON_SELFTEST_CASES_H
#define ZARNGI_COMPARISON_SELFTEST_CASES_H

#include <string>
#include <vector>

#include "comparison/selfTest/selfTest.h"

namespace zarngi::selftest
{

using Cases = std::vector<SelfTestCase>;

/** Passed where both texts are equal. */
SelfTestCase exactCase(std::string part, std::string name, std::string wanted, std::string found);

/** Passed where the found number is as near as the tolerance. */
SelfTestCase nearCase(std::string part, std::string name, double wanted, double found,
                      double tolerance);

/**
 * Random problems on every set of instructions that this processor runs, held to the definition of
 * the search bit by bit.
 * @param threads of the definition
 */
Cases searchCases(const std::vector<TestedPath>& paths, int threads, const WatchSelfTest& watch);

/** Gamma where it can be worked by hand. */
Cases gammaCases();

/** Files that are written here or stand here byte by byte, read. */
Cases fileCases(const files::Deflate& deflate);

/** Volumes and doses of structures by closed forms. */
Cases structureCases();

} // namespace zarngi::selftest

#endif
