#include "files/structures/readStructures.h"

#include "files/fileFormat.h"
#include "files/formats/dicom/file.h"
#include "files/namedFile.h"
#include "files/structures/labelMask.h"
#include "files/structures/rtStructureSet.h"
#include "files/structures/segmentation.h"
#include "files/toldResult.h"

namespace files
{

namespace
{

constexpr const char* whatItIs = "file of structures";

/** @throws Refusal for a file of no format that structures come in. */
FileFormat formatOf(ByteView file, const Deflate& deflate)
{
    const std::optional<FileFormat> format = identifiedFormat(file, deflate, whatItIs);
    if (!format || isTable(*format) || isSimulation(*format)) {
        refuseForeign("is not a file of structures (DICOM RT Structure Set or Segmentation, or a "
                      "label mask in NRRD, MetaImage or NIfTI)");
    }
    return *format;
}

/** Whether the beginning of a DICOM file passes a test. */
bool beginsAs(ByteView file, const Deflate& deflate, bool (*test)(const DicomFile&))
{
    constexpr std::size_t beginning = 1 << 16;
    const auto answer =
        resultOf([&] { return test(openDicomBeginning(file, deflate, beginning)); });
    return answer && *answer;
}

StructureSet readDicom(ByteView file, const Deflate& deflate)
{
    return beginsAs(file, deflate, isSegmentation) ? readSegmentation(openDicomFile(file, deflate))
                                                   : readRtStructureSet(file, deflate);
}

StructureSet readBytes(ByteView file, const std::string& name, const FindFile& find,
                       const Host& host)
{
    if (file.empty()) {
        refuseDamaged("is empty");
    }
    const FileFormat format = formatOf(file, host.deflate);
    return format == FileFormat::dicom ? readDicom(file, host.deflate)
                                       : readLabelMask(format, file, name, find, host);
}

StructureSet readPath(const std::string& path, const Host& host)
{
    NamedFile file(path, host);
    const Contents contents = file.read(whatItIs, [&host](ByteView beginning) {
        if (!beginning.empty()) {
            formatOf(beginning, host.deflate);
        }
    });
    return file.withPaths(readBytes(contents.bytes, path, file.finder(), host));
}

} // namespace

Result<StructureSet> readStructures(ByteView file, const std::string& name, const FindFile& find,
                                    const Host& host)
{
    return toldResultOf(host, [&] { return readBytes(file, name, find, host); });
}

Result<StructureSet> readStructuresFile(const std::string& path, const Host& host)
{
    return toldResultOf(host, [&] { return readPath(path, host); });
}

bool isStructureSet(ByteView file, const Deflate& deflate)
{
    const auto format = resultOf([&] { return identifiedFormat(file, deflate, whatItIs); });
    return format && *format == FileFormat::dicom &&
           (beginsAs(file, deflate, isRtStructureSet) || beginsAs(file, deflate, isSegmentation));
}

} // namespace files
