#include "cli/output/progress.h"

#include <algorithm>

#include "comparison/text.h"
#include "platform/console.h"

namespace zarngi
{

namespace
{

void replaceLine(const std::string& text)
{
    platform::writeToTerminal(std::string("\r").append(text).append("\033[K"));
}

std::string bar(double share)
{
    constexpr std::size_t width = 24;
    const auto done = static_cast<std::size_t>(share * static_cast<double>(width));
    std::string text(width, '.');
    std::fill_n(text.begin(), std::min(done, width), '#');
    return text;
}

} // namespace

std::string progressText(const std::string& title, double share, double seconds)
{
    return title + " [" + bar(share) + "] " + fixed(100 * share, 0) + " %, " + fixed(seconds, 0) +
           " s";
}

std::string progressText(const std::string& title, const SearchProgress& progress, double seconds)
{
    if (progress.shellLimit == 1) {
        return progressText(title, progress.share, seconds);
    }
    constexpr int notWorthTelling = 1000000;
    const bool isBounded = progress.shellLimit < notWorthTelling;
    return title + " [" + bar(progress.share) + "] shell " + std::to_string(progress.shell) +
           (isBounded ? " of at most " + std::to_string(progress.shellLimit) : "") + ", " +
           fixed(seconds, 0) + " s";
}

bool ProgressLine::isWanted()
{
    return platform::isTerminalForProgress();
}

ProgressLine::ProgressLine(std::string title) : title_(std::move(title))
{
}

ProgressLine::~ProgressLine()
{
    platform::writeToTerminal(shown_ == Clock::time_point{} ? "" : "\r\033[K");
}

bool ProgressLine::isDue()
{
    constexpr std::chrono::milliseconds patience(1000);
    constexpr std::chrono::milliseconds refresh(200);
    const Clock::time_point now = Clock::now();
    if (now - start_ < patience || now - shown_ < refresh) {
        return false;
    }
    shown_ = now;
    return true;
}

double ProgressLine::seconds() const
{
    const std::chrono::duration<double> elapsed = shown_ - start_;
    return elapsed.count();
}

void ProgressLine::show(const SearchProgress& progress)
{
    if (isDue()) {
        replaceLine(progressText(title_, progress, seconds()));
    }
}

void ProgressLine::show(double share)
{
    if (isDue()) {
        replaceLine(progressText(title_, share, seconds()));
    }
}

} // namespace zarngi
