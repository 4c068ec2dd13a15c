/**
 * @file options.h
 * What the benchmark is asked to measure.
 */
#ifndef ZARNGI_BENCH_OPTIONS_H
#define ZARNGI_BENCH_OPTIONS_H

#include <regex>
#include <string>

namespace bench
{

struct Options {
    int synthetic = 0;   ///< voxels per axis of a synthetic pair; 0: measured doses where present
    int repetitions = 3; ///< rounds of a row
    int threads = 2;
    bool noPlain = false; ///< leave the plain search out
    bool quick = false;   ///< only rows whose plain search takes seconds
    bool scale = false;   ///< with the row of 500 x 500 x 500 voxels
    bool growth = false;  ///< with the tables of growth
    std::string rows;     ///< regular expression that rows must match; empty: all

    /** Whether the row of this description is wanted. */
    [[nodiscard]] bool wants(const std::string& row) const
    {
        return rows.empty() || std::regex_search(row, std::regex(rows));
    }
};

} // namespace bench

#endif
