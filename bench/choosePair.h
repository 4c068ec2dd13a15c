/**
 * @file choosePair.h
 * The pair that a row is measured on: measured doses where they are present, synthetic ones
 * otherwise.
 */
#ifndef ZARNGI_BENCH_CHOOSEPAIR_H
#define ZARNGI_BENCH_CHOOSEPAIR_H

#include "options.h"
#include "pair.h"

namespace bench
{

enum class PairKind {
    similar, ///< a plan and its delivery: gamma is small nearly everywhere
    opposed  ///< doses far apart: gamma is large nearly everywhere
};

std::string nameOf(PairKind kind, const Options& options);
Pair choosePair(PairKind kind, const Options& options);

} // namespace bench

#endif
