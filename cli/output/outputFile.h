/**
 * @file outputFile.h
 * Outputs that appear whole or not at all.
 */
#ifndef ZARNGI_CLI_OUTPUT_OUTPUTFILE_H
#define ZARNGI_CLI_OUTPUT_OUTPUTFILE_H

#include <optional>
#include <string>
#include <string_view>

#include "cli/output/outputPlace.h"
#include "cli/output/pendingFile.h"
#include "platform/openFile.h"

namespace zarngi
{

/**
 * An output, whose file is written under a temporary name beside its final one. That is created at
 * once, so that a place that cannot be written to is found before a long computation, and removed
 * unless write() succeeds, also when the program is interrupted by a signal. A device or a pipe
 * is opened only for what is to be written to it, when that is complete.
 */
class OutputFile
{
public:
    /** @throws InputError when nothing can be written there. */
    explicit OutputFile(const std::string& name);

    const std::string& name() const { return place_.name; }
    /** Where the file lies, links followed; the current folder where there is no file. */
    std::string folder() const;
    bool isStandardOutput() const { return place_.isStandardOutput(); }

    /** Writes the contents and makes an output of them. @throws InputError */
    void write(std::string_view contents);

private:
    template <class Action> void attempt(Action action) const;
    [[noreturn]] void fail(const std::string& reason) const;
    void prepare();
    void checkPlace() const;
    platform::OpenFile openPlace();

    OutputPlace place_;
    std::optional<platform::OpenFile> open_; ///< of a place that was open before the program began
    std::optional<PendingFile> pending_;
};

} // namespace zarngi

#endif
