#include "files/readAnyFile.h"

#include "files/namedFile.h"
#include "files/plans/readPlan.h"
#include "files/readDose.h"
#include "files/structures/readStructures.h"
#include "files/toldResult.h"

namespace files
{

namespace
{

AnyContents readPath(const std::string& path, const Host& host)
{
    NamedFile file(path, host);
    const Contents contents = file.read(
        "dose file", [&host](ByteView beginning) { checkMayBeDose(beginning, host.deflate); });
    if (isStructureSet(contents.bytes, host.deflate)) {
        return file.withPaths(valueOf(readStructures(contents.bytes, path, file.finder(), host)));
    }
    if (isPlan(contents.bytes, host.deflate)) {
        return file.withPaths(valueOf(readPlan(contents.bytes, host)));
    }
    return file.withPaths(valueOf(readDose(contents, path, file.finder(), host)));
}

} // namespace

/** Each reader has told its messages. */
static void tell(AnyContents& /*contents*/, bool /*quotes*/)
{
}

Result<AnyContents> readAnyFile(const std::string& path, const Host& host)
{
    return toldResultOf(host, [&] { return readPath(path, host); });
}

} // namespace files
