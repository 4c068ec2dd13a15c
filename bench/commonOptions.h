/**
 * @file commonOptions.h
 * The command-line options that all benchmark programs of the search take.
 */
#ifndef ZARNGI_BENCH_COMMONOPTIONS_H
#define ZARNGI_BENCH_COMMONOPTIONS_H

#include <CLI/CLI.hpp>

#include "options.h"

namespace bench
{

inline void declareCommon(CLI::App& app, Options& options)
{
    app.add_option("--synthetic", options.synthetic,
                   "Compare a synthetic pair of N^3 voxels, not the measured doses")
        ->check(CLI::Range(4, 400));
    app.add_option("--repetitions", options.repetitions, "Rounds per row")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_option("--threads", options.threads, "Threads of both sides")
        ->check(CLI::Range(1, 1024))
        ->capture_default_str();
    app.add_option("--rows", options.rows, "Only rows that match this regular expression");
}

} // namespace bench

#endif
