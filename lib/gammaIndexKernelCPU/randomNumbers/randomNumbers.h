/**
 * @file randomNumbers.h
 * The pseudo-random numbers of the GNU C library's rand(), on every system.
 */
#ifndef ZARNGI_RANDOMNUMBERS_H
#define ZARNGI_RANDOMNUMBERS_H

namespace zarngi::engine
{

/** Begins the sequence that belongs to a seed. */
void seedRandomNumbers(unsigned seed);

/** The next number of the sequence, 0 to 2^31 - 1. */
int nextRandomNumber();

} // namespace zarngi::engine

#endif
