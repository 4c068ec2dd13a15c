#include "watch.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>

#include "engineState.h"

namespace zarngi::engine
{

namespace watch
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds interval(10); // between two calls of the callback

zarnGI_progressCallback callback = nullptr;
void* callbackContext = nullptr;
pthread_t hostThread;
zarnGI_progress progress{};
Clock::time_point told;

double shareWalked()
{
    const auto voxels = static_cast<double>(std::max<std::size_t>(activeVoxels.size(), 1));
    return std::min(1.0, static_cast<double>(walked.load(std::memory_order_relaxed)) / voxels);
}

} // namespace

std::atomic<bool> stopWanted{false};
std::atomic<std::size_t> walked{0};

void setCallback(zarnGI_progressCallback newCallback, void* context)
{
    callback = newCallback;
    callbackContext = context;
}

bool isWanted()
{
    return callback != nullptr;
}

void begin()
{
    stopWanted = false;
    walked = 0;
    hostThread = pthread_self();
    progress = {};
    told = {};
}

void enterShell(int shell, int shellLimit)
{
    progress.shell = shell;
    progress.shellLimit = shellLimit;
    walked.store(0, std::memory_order_relaxed);
    tell();
    if (isStopped()) {
        throw Stopped();
    }
}

void tell()
{
    if (!isWanted() || isStopped() || pthread_equal(pthread_self(), hostThread) == 0) {
        return;
    }
    const Clock::time_point now = Clock::now();
    if (now - told < interval) {
        return;
    }
    told = now;
    progress.share = shareWalked();
    if (callback(&progress, callbackContext) != 0) {
        stopWanted.store(true, std::memory_order_relaxed);
    }
}

} // namespace watch

} // namespace zarngi::engine
