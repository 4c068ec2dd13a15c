/**
 * @file probe.h
 * Protection against readers that end the program on a damaged file.
 */
#ifndef ZARNGI_CLI_PROBE_H
#define ZARNGI_CLI_PROBE_H

#include <functional>

namespace cli
{

/**
 * Runs the step in a child process to see that the process survives it; the caller then runs it
 * itself. The image libraries stop the whole process by failed assertions where a file is damaged
 * in a way they did not think of, and loop for ages over absurd counts. Exceptions of the step do
 * not matter here: the caller meets them again.
 *
 * Must be called while the process has one thread.
 * @param seconds after which the step counts as stuck.
 * @throws InputError when the child is ended by a signal.
 */
void probe(const std::function<void()>& step, unsigned seconds = 60);

} // namespace cli

#endif
