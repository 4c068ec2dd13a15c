#include "comparison/sources/inputFiles.h"

#include <algorithm>

#include "comparison/failure.h"

namespace zarngi
{

InputFiles::InputFiles(const std::vector<std::string>& paths)
{
    for (const std::string& path : paths) {
        if (const auto file = platform::identityOf(path)) {
            files_.push_back(*file);
        }
    }
}

void InputFiles::checkIsNone(const platform::FileIdentity& file, const std::string& name) const
{
    if (std::find(files_.begin(), files_.end(), file) != files_.end()) {
        throw UsageError(name + " would overwrite an input file");
    }
}

void InputFiles::checkIsNone(const std::string& name) const
{
    if (const auto file = platform::identityOf(name)) {
        checkIsNone(*file, name);
    }
}

} // namespace zarngi
