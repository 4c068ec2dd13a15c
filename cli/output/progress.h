/**
 * @file progress.h
 * A line on the terminal that tells how far a long computation has come.
 */
#ifndef ZARNGI_CLI_OUTPUT_PROGRESS_H
#define ZARNGI_CLI_OUTPUT_PROGRESS_H

#include <string>
#include <string_view>
#include <thread>

namespace zarngi
{

/**
 * Follows the search through the library's reports at verbosity 5: one line per shell and forty
 * dots per pass over the voxels.
 */
class SearchFollower
{
public:
    void read(std::string_view report);

    int shell() const { return shell_; }
    /** Share of the voxels that the pass over the current shell is done with, 0 to 1. */
    double share() const;

private:
    void endLine();

    std::string line_;
    int shell_ = 0;
    int dots_ = 0;
    bool isBar_ = false; ///< the next line is a bar of dots
};

/**
 * While it lives, standard output goes to a follower instead of the user, and from one second on
 * standard error shows a line with the progress, which vanishes at the end. For terminals: use
 * isWanted() before.
 */
class Progress
{
public:
    /** Whether standard error is a terminal that can show it. */
    static bool isWanted();

    /** @param title what is computed; @param shells the largest number of shells. */
    Progress(std::string title, int shells);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

private:
    void follow(int reports);

    std::string title_;
    int shells_;
    int savedOutput_ = -1;
    std::thread follower_;
};

} // namespace zarngi

#endif
