#include "platform/endings.h"

#include <csignal>

namespace platform
{

namespace
{

constexpr int endingSignals[] = {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGPIPE};

void (*actionBefore)() = nullptr;

extern "C" void actAndEnd(int signal)
{
    actionBefore();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

} // namespace

struct EndingsHeld::Previous {
    sigset_t mask;
};

EndingsHeld::EndingsHeld() : previous_(std::make_unique<Previous>())
{
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : endingSignals) {
        sigaddset(&held, signal);
    }
    pthread_sigmask(SIG_BLOCK, &held, &previous_->mask);
}

EndingsHeld::~EndingsHeld()
{
    pthread_sigmask(SIG_SETMASK, &previous_->mask, nullptr);
}

void beforeEndings(void (*action)())
{
    actionBefore = action;
    std::signal(SIGXFSZ, SIG_IGN);
    struct sigaction ending {
    };
    ending.sa_handler = actAndEnd;
    sigemptyset(&ending.sa_mask);
    for (const int signal : endingSignals) {
        struct sigaction previous {
        };
        sigaction(signal, nullptr, &previous);
        if (previous.sa_handler != SIG_IGN) {
            sigaction(signal, &ending, nullptr);
        }
    }
}

} // namespace platform
