/**
 * @file host.h
 * What a host program does, for the tests: criteria, one computation and its results.
 */
#ifndef ZARNGI_TESTS_HOST_H
#define ZARNGI_TESTS_HOST_H

#include <gtest/gtest.h>

#include <vector>

#include "grid.h"
#include "libZarnGI.h"

void setCriteria(float DTA, float DD, float DCO);

struct Results {
    std::vector<float> gamma;
    float passRate = 0;
};

/** Runs the computation; both it and the getters must succeed. */
Results compute();

/** A test in a freshly initialised library, which leaves it reset. */
class LibraryTest : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(zarnGI_init(), ZARNGI_OK); }
    void TearDown() override { zarnGI_reset(); }
};

#endif
