#include "cli/commands/readStructures.h"

#include "cli/guard/unpackPixels.h"
#include "comparison/failure.h"
#include "files/nativeDeflate.h"
#include "files/structures/readStructures.h"

namespace zarngi
{

namespace
{

/** What a reader gives for a path. @param read from a path and a host to a result */
template <class Read>
auto readWith(const Read& read, const std::string& path, FileDigests* digests, files::Host host)
{
    if (digests != nullptr) {
        host.watch = [digests](const std::string& name, files::ByteView contents) {
            (*digests)[name] = digestOf(contents);
        };
    }
    auto result = read(path, host);
    if (!result) {
        throw failureOf(path, result.error());
    }
    return std::move(*result);
}

} // namespace

files::StructureSet readStructures(const std::string& path, FileDigests* digests)
{
    return readWith(&files::readStructuresFile, path, digests,
                    {files::nativeDeflate(), unpackPixels});
}

files::AnyContents readAnyFile(const std::string& path, FileDigests* digests,
                               const files::TableUnits& units)
{
    return readWith(&files::readAnyFile, path, digests,
                    {.deflate = files::nativeDeflate(),
                     .unpackPixels = unpackPixels,
                     .units = units,
                     .keepsUncertainty = true});
}

} // namespace zarngi
