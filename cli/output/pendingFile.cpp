#include "cli/output/pendingFile.h"

#include <atomic>
#include <string>

#include "platform/endings.h"
#include "platform/places.h"

namespace zarngi
{

namespace
{

/** The temporary names, readable from a signal handler: entries are never removed. */
struct Pending {
    const std::string name;
    Pending* const next;
    std::atomic<bool> isThere{true};
};

std::atomic<Pending*> pendingFiles{nullptr};

void setPending(const std::string& name)
{
    pendingFiles = new Pending{name, pendingFiles};
}

void clearPending(const std::string& name)
{
    for (Pending* entry = pendingFiles; entry != nullptr; entry = entry->next) {
        if (name == entry->name) {
            entry->isThere = false;
        }
    }
}

void removePending()
{
    for (const Pending* entry = pendingFiles; entry != nullptr; entry = entry->next) {
        if (entry->isThere) {
            platform::removeFile(entry->name.c_str());
        }
    }
}

} // namespace

PendingFile::PendingFile(const std::filesystem::path& folder)
{
    const platform::EndingsHeld untilItIsPending;
    file_.emplace(folder);
    setPending(file_->path());
}

PendingFile::~PendingFile()
{
    const std::string path = file_->path();
    file_.reset();
    clearPending(path);
}

void PendingFile::renameTo(const std::string& path)
{
    file_->renameTo(path);
    clearPending(file_->path());
}

void removeTemporaryFilesOnSignals()
{
    platform::beforeEndings(removePending);
}

} // namespace zarngi
