// The generator for systems with another rand(), held to that of this system.
#include "randomNumbers/randomNumbers.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace
{

class RandomNumbers : public testing::TestWithParam<unsigned>
{
};

TEST_P(RandomNumbers, AreThoseOfTheGnuLibrary)
{
    std::srand(GetParam());
    zarngi::engine::seedRandomNumbers(GetParam());
    for (int i = 0; i < 10000; ++i) {
        ASSERT_EQ(zarngi::engine::nextRandomNumber(), std::rand()) << i;
    }
}

// Of today's seconds, those after 2038, and the ends of the words.
INSTANTIATE_TEST_SUITE_P(Library, RandomNumbers,
                         testing::Values(0U, 1U, 1792000000U, 2147483647U, 2147483648U, 3000000000U,
                                         4294967295U));

} // namespace
