#include "cli/commands/readDose.h"

#include "cli/guard/unpackPixels.h"
#include "comparison/failure.h"
#include "files/nativeDeflate.h"

namespace zarngi
{

namespace
{

using Watch = std::function<void(const std::string&, files::ByteView)>;

DoseImage readWatched(const std::string& path, const Watch& watch, const files::TableUnits& units)
{
    files::Result<DoseImage> dose =
        files::readDoseFile(path, {files::nativeDeflate(), unpackPixels, watch, units});
    if (!dose) {
        throw InputError(path + ": " + dose.error().sentence);
    }
    return std::move(*dose);
}

} // namespace

DoseImage readDose(const std::string& path, const files::TableUnits& units)
{
    return readWatched(path, {}, units);
}

DoseImage readDose(const std::string& path, FileDigests& digests, const files::TableUnits& units)
{
    const auto watch = [&digests](const std::string& name, files::ByteView contents) {
        digests[name] = digestOf(contents);
    };
    return readWatched(path, watch, units);
}

} // namespace zarngi
