#include "files/plans/readPlan.h"

#include "files/fileFormat.h"
#include "files/namedFile.h"
#include "files/plans/rtPlan.h"
#include "files/toldResult.h"

namespace files
{

namespace
{

constexpr const char* whatItIs = "file of a plan";

/** @throws Refusal for a file of another format. */
void checkFormat(ByteView file, const Deflate& deflate)
{
    if (file.empty()) {
        refuseDamaged("is empty");
    }
    const std::optional<FileFormat> format = identifiedFormat(file, deflate, whatItIs);
    if (!format || *format != FileFormat::dicom) {
        refuseForeign("is not a treatment plan (DICOM RT Plan or RT Ion Plan)");
    }
}

Plan readBytes(ByteView file, const Deflate& deflate)
{
    checkFormat(file, deflate);
    return readRtPlan(file, deflate);
}

Plan readPath(const std::string& path, const Host& host)
{
    NamedFile file(path, host);
    const Contents contents =
        file.read(whatItIs, [&host](ByteView beginning) { checkFormat(beginning, host.deflate); });
    return file.withPaths(readBytes(contents.bytes, host.deflate));
}

} // namespace

Result<Plan> readPlan(ByteView file, const Host& host)
{
    return toldResultOf(host, [&] { return readBytes(file, host.deflate); });
}

Result<Plan> readPlanFile(const std::string& path, const Host& host)
{
    return toldResultOf(host, [&] { return readPath(path, host); });
}

bool isPlan(ByteView file, const Deflate& deflate)
{
    const auto format = resultOf([&] { return identifiedFormat(file, deflate, whatItIs); });
    return format && *format == FileFormat::dicom && isRtPlan(file, deflate);
}

} // namespace files
