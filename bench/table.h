/**
 * @file table.h
 * The benchmark's output: tables with columns separated by bars, one row as soon as it is measured.
 */
#ifndef ZARNGI_BENCH_TABLE_H
#define ZARNGI_BENCH_TABLE_H

#include <cstddef>
#include <string>
#include <vector>

namespace bench
{

/** A column's heading and the least width of its cells. */
struct ColumnFormat {
    std::string heading;
    std::size_t width;
};

class Table
{
public:
    /** Prints "== title ==" and the headings. */
    Table(const std::string& title, std::vector<ColumnFormat> columns);

    void print(const std::vector<std::string>& cells) const;

private:
    std::vector<ColumnFormat> columns_;
};

/** The value with three significant digits, never in exponential form. */
std::string shortNumber(double value);

/** Tells on a terminal what is being measured; silent in a pipe. Empty: takes that back. */
void showProgress(const std::string& what);

} // namespace bench

#endif
