#include "cli/commands/readStructures.h"

#include "cli/guard/unpackPixels.h"
#include "comparison/failure.h"
#include "files/nativeDeflate.h"
#include "files/structures/readStructures.h"

namespace zarngi
{

files::StructureSet readStructures(const std::string& path, FileDigests& digests)
{
    const auto watch = [&digests](const std::string& name, files::ByteView contents) {
        digests[name] = digestOf(contents);
    };
    files::Result<files::StructureSet> set =
        files::readStructuresFile(path, {files::nativeDeflate(), unpackPixels, watch});
    if (!set) {
        throw InputError(path + ": " + set.error().sentence);
    }
    return std::move(*set);
}

} // namespace zarngi
