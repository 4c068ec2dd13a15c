#include "cli/output/progress.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "comparison/text.h"

namespace zarngi
{

namespace
{

constexpr int dotsPerPass = 40;

void writeToTerminal(const std::string& text)
{
    // A terminal that does not take it is no reason to stop.
    static_cast<void>(!write(STDERR_FILENO, text.data(), text.size()));
}

std::string bar(double share)
{
    constexpr std::size_t width = 24;
    const auto done = static_cast<std::size_t>(share * static_cast<double>(width));
    std::string text(width, '.');
    std::fill_n(text.begin(), done, '#');
    return text;
}

} // namespace

void SearchFollower::endLine()
{
    if (line_.starts_with("\tsearching")) {
        ++shell_;
        dots_ = 0;
    }
    isBar_ = line_.starts_with("[  10  20");
    line_.clear();
}

void SearchFollower::read(std::string_view report)
{
    for (const char c : report) {
        if (c == '\n') {
            endLine();
        } else {
            line_ += c;
            dots_ += isBar_ && c == '.' ? 1 : 0;
        }
    }
}

double SearchFollower::share() const
{
    return std::min(1.0, static_cast<double>(dots_) / dotsPerPass);
}

bool Progress::isWanted()
{
    const char* const terminal = std::getenv("TERM");
    return isatty(STDERR_FILENO) == 1 && terminal != nullptr &&
           std::string_view(terminal) != "dumb";
}

Progress::Progress(std::string title, int shells) : title_(std::move(title)), shells_(shells)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return;
    }
    std::cout.flush();
    std::fflush(stdout);
    savedOutput_ = dup(STDOUT_FILENO);
    dup2(ends[1], STDOUT_FILENO);
    close(ends[1]);
    follower_ = std::thread([this, reports = ends[0]] { follow(reports); });
}

Progress::~Progress()
{
    if (savedOutput_ < 0) {
        return;
    }
    std::cout.flush();
    std::fflush(stdout);
    dup2(savedOutput_, STDOUT_FILENO); // closes the pipe, which ends the follower
    close(savedOutput_);
    follower_.join();
}

void Progress::follow(int reports)
{
    constexpr std::chrono::milliseconds patience(1000);
    constexpr int refresh = 200; // ms
    const auto start = std::chrono::steady_clock::now();
    SearchFollower follower;
    std::array<char, 4096> report{};
    bool isShown = false;
    for (;;) {
        pollfd source{reports, POLLIN, 0};
        if (poll(&source, 1, refresh) > 0) {
            const ssize_t count = ::read(reports, report.data(), report.size());
            if (count <= 0) {
                break;
            }
            follower.read({report.data(), static_cast<std::size_t>(count)});
        }
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        if (elapsed >= patience && follower.shell() > 0) {
            isShown = true;
            writeToTerminal("\r" + title_ + " [" + bar(follower.share()) + "] shell " +
                            std::to_string(follower.shell()) +
                            (shells_ > 0 ? " of at most " + std::to_string(shells_) : "") + ", " +
                            fixed(elapsed.count(), 0) + " s\033[K");
        }
    }
    close(reports);
    writeToTerminal(isShown ? "\r\033[K" : "");
}

} // namespace zarngi
