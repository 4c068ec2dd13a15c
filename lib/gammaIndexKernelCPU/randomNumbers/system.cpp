#include "randomNumbers/randomNumbers.h"

#include <cstdlib>

namespace zarngi::engine
{

void seedRandomNumbers(unsigned seed)
{
    std::srand(seed);
}

int nextRandomNumber()
{
    return std::rand();
}

} // namespace zarngi::engine
