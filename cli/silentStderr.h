/**
 * @file silentStderr.h
 * Keeps third-party chatter off the user's terminal.
 */
#ifndef ZARNGI_CLI_SILENTSTDERR_H
#define ZARNGI_CLI_SILENTSTDERR_H

namespace cli
{

/**
 * Sends standard error to nowhere while it lives. The image libraries print their complaints
 * there directly; the program tells the user the reason in one line of its own instead.
 */
class SilentStderr
{
public:
    SilentStderr();
    ~SilentStderr();
    SilentStderr(const SilentStderr&) = delete;
    SilentStderr& operator=(const SilentStderr&) = delete;

private:
    int saved_;
};

} // namespace cli

#endif
