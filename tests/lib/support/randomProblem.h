// Random computations, by the name that the tests use.
#ifndef ZARNGI_TESTS_RANDOMPROBLEM_H
#define ZARNGI_TESTS_RANDOMPROBLEM_H

#include "comparison/selfTest/randomProblem.h"
#include "support/grid.h"

using zarngi::definition::RandomProblem;

#endif
