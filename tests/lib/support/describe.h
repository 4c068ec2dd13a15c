/**
 * @file describe.h
 * The problem in the environment, as text that allows to set it up again.
 */
#ifndef ZARNGI_TESTS_DESCRIBE_H
#define ZARNGI_TESTS_DESCRIBE_H

#include <string>

/** Criteria, options and both grids in `Env`, with every float to its last digit. */
std::string describeProblem();

#endif
