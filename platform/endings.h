/**
 * @file endings.h
 * What ends a program from outside: Ctrl-C, a closed terminal, a closed pipe.
 */
#ifndef ZARNGI_PLATFORM_ENDINGS_H
#define ZARNGI_PLATFORM_ENDINGS_H

#include <memory>

namespace platform
{

/** While it lives, what would end the program waits. For the time in which one thread runs. */
class EndingsHeld
{
public:
    EndingsHeld();
    ~EndingsHeld();
    EndingsHeld(const EndingsHeld&) = delete;
    EndingsHeld& operator=(const EndingsHeld&) = delete;

private:
    struct Previous;
    std::unique_ptr<Previous> previous_;
};

/**
 * Before something from outside ends the program, the action is done. It may use only what a signal
 * handler may. A limit on the size of files fails the write from now on, as a full disk does.
 */
void beforeEndings(void (*action)());

} // namespace platform

#endif
