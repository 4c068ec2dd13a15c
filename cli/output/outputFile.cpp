#include "cli/output/outputFile.h"

#include <filesystem>
#include <system_error>

#include "comparison/failure.h"
#include "platform/paths.h"
#include "platform/systemError.h"

namespace zarngi
{

template <class Action> void OutputFile::attempt(Action action) const
{
    try {
        action();
    } catch (const std::system_error& error) {
        fail(platform::reasonOf(error.code()));
    }
}

void OutputFile::fail(const std::string& reason) const
{
    throw InputError(name() + ": cannot be written: " + reason);
}

OutputFile::OutputFile(const std::string& name) : place_(placeOf(name))
{
    attempt([&] { prepare(); });
}

void OutputFile::prepare()
{
    if (place_.descriptor >= 0) {
        open_.emplace(platform::duplicate(place_.descriptor));
    } else {
        checkPlace();
    }
    if (place_.isFile) {
        pending_.emplace(platform::pathOf(place_.path).parent_path());
    }
}

void OutputFile::checkPlace() const
{
    const platform::PlaceKind kind = platform::kindOfPlace(place_.path);
    if (kind == platform::PlaceKind::folder) {
        fail("is a folder");
    } else if (kind == platform::PlaceKind::socket) {
        fail("is a socket");
    } else if (!place_.isFile) {
        platform::checkWritable(place_.path);
    }
}

platform::OpenFile OutputFile::openPlace()
{
    return open_ ? std::move(*open_) : platform::openForWriting(place_.path);
}

std::string OutputFile::folder() const
{
    const std::filesystem::path here = std::filesystem::current_path();
    return platform::textOf(
        place_.isFile ? (here / platform::pathOf(place_.path)).lexically_normal().parent_path()
                      : here);
}

void OutputFile::write(std::string_view contents)
{
    attempt([&] {
        if (place_.isFile) {
            pending_->write(contents);
            pending_->renameTo(place_.path);
            return;
        }
        platform::whereBrokenPipesFail([&] {
            platform::OpenFile target = openPlace();
            target.write(contents);
            target.finish();
        });
    });
}

} // namespace zarngi
