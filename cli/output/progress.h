/**
 * @file progress.h
 * A line on the terminal that tells how far a long computation has come.
 */
#ifndef ZARNGI_CLI_OUTPUT_PROGRESS_H
#define ZARNGI_CLI_OUTPUT_PROGRESS_H

#include <chrono>
#include <string>

#include "comparison/gammaRun.h"

namespace zarngi
{

/**
 * From one second on, a line on standard error that follows a search; it vanishes at the end. For
 * terminals: use isWanted() before.
 */
class ProgressLine
{
public:
    /** Whether standard error is a terminal that can show it. */
    static bool isWanted();

    /** @param title what is computed. */
    explicit ProgressLine(std::string title);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /** Shows how far the search is, a few times a second. */
    void show(const SearchProgress& progress);

    /** Shows which part of a piece of work, 0 to 1, is done. */
    void show(double share);

private:
    using Clock = std::chrono::steady_clock;

    /** Whether it is time for another text. */
    bool isDue();
    double seconds() const;

    std::string title_;
    Clock::time_point start_ = Clock::now();
    Clock::time_point shown_{};
};

/** The line for a search that is so far. */
std::string progressText(const std::string& title, const SearchProgress& progress, double seconds);

/** The line for a piece of work of which so much, 0 to 1, is done. */
std::string progressText(const std::string& title, double share, double seconds);

} // namespace zarngi

#endif
