/**
 * @file inputFiles.h
 * The files that are read, which no output may replace.
 */
#ifndef ZARNGI_COMPARISON_SOURCES_INPUTFILES_H
#define ZARNGI_COMPARISON_SOURCES_INPUTFILES_H

#include <string>
#include <vector>

#include "platform/places.h"

namespace zarngi
{

/** Files, not names: links of both kinds are followed. */
class InputFiles
{
public:
    /** @param paths some of them may be empty, or name no file. */
    explicit InputFiles(const std::vector<std::string>& paths);

    /** @param name of a file to be written. @throws UsageError when it is one of them */
    void checkIsNone(const platform::FileIdentity& file, const std::string& name) const;
    void checkIsNone(const std::string& name) const;

private:
    std::vector<platform::FileIdentity> files_;
};

} // namespace zarngi

#endif
