#include "cli/commands/readDose.h"

#include "cli/guard/unpackPixels.h"
#include "comparison/failure.h"
#include "files/nativeDeflate.h"
#include "files/readDose.h"

namespace zarngi
{

namespace
{

using Watch = std::function<void(const std::string&, files::ByteView)>;

DoseImage readWatched(const std::string& path, const Watch& watch)
{
    files::Result<DoseImage> dose =
        files::readDoseFile(path, {files::nativeDeflate(), unpackPixels, watch});
    if (!dose) {
        throw InputError(path + ": " + dose.error().sentence);
    }
    return std::move(*dose);
}

} // namespace

DoseImage readDose(const std::string& path)
{
    return readWatched(path, {});
}

DoseImage readDose(const std::string& path, FileDigests& digests)
{
    return readWatched(path, [&digests](const std::string& name, files::ByteView contents) {
        digests[name] = digestOf(contents);
    });
}

} // namespace zarngi
