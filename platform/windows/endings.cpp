#include "platform/endings.h"

#include <windows.h>

namespace platform
{

namespace
{

SRWLOCK held = SRWLOCK_INIT;

void (*actionBefore)() = nullptr;

/** Runs on a thread of its own. The lock is kept: nothing is begun any more before the end. */
BOOL WINAPI actBeforeEnding(DWORD /*kind*/)
{
    AcquireSRWLockExclusive(&held);
    actionBefore();
    return FALSE; // now the program is ended
}

} // namespace

struct EndingsHeld::Previous {
};

EndingsHeld::EndingsHeld()
{
    AcquireSRWLockExclusive(&held);
}

EndingsHeld::~EndingsHeld()
{
    ReleaseSRWLockExclusive(&held);
}

void beforeEndings(void (*action)())
{
    actionBefore = action;
    SetConsoleCtrlHandler(actBeforeEnding, TRUE);
}

} // namespace platform
