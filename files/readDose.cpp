#include "files/readDose.h"

#include <algorithm>
#include <bit>
#include <cstdint>

#include "files/fileFormat.h"
#include "files/formats/dicom/dose.h"
#include "files/formats/volumeFormats.h"
#include "files/packed.h"
#include "files/sourceFile.h"
#include "files/text.h"

namespace files
{

namespace
{

std::optional<FileFormat> formatOf(ByteView file, const Deflate& deflate)
{
    if (!isGzip(file)) {
        return identifiedFormat(part(file, 0, identifyingBytes));
    }
    const Bytes beginning = unpackBeginning(file, deflate, identifyingBytes);
    const std::optional<FileFormat> format = identifiedFormat(beginning.view());
    if (format == FileFormat::nrrd || format == FileFormat::metaImage) {
        refuse("is packed by gzip as a whole; unpack it first (gunzip)");
    }
    if (!format && beginning.size() < identifyingBytes) {
        refuse("its compressed data is damaged or cut short, or no dose file");
    }
    return format;
}

[[noreturn]] void refuseForeign()
{
    refuse("is not a dose file (DICOM RT Dose, NRRD, MetaImage or NIfTI)");
}

DoseImage readAs(FileFormat format, ByteView file, const FindFile& find, const Host& host)
{
    switch (format) {
    case FileFormat::nrrd:
        return readNrrd(file, find, host);
    case FileFormat::metaImage:
        return readMetaImage(file, find, host);
    case FileFormat::nifti:
        return readNifti(file, find, host);
    case FileFormat::dicom:
        break;
    }
    return readDicomDose(file, host);
}

void checkValues(const std::vector<float>& values)
{
    // Compared as integers, which the compiler does for many at once: infinity and what is not a
    // number have the largest exponent.
    constexpr std::uint32_t magnitude = 0x7FFFFFFF;
    constexpr std::uint32_t infinity = 0x7F800000;
    std::uint32_t largest = 0;
    for (const float value : values) {
        largest = std::max(largest, std::bit_cast<std::uint32_t>(value) & magnitude);
    }
    if (largest >= infinity) {
        refuse("holds doses that are not finite numbers");
    }
}

void warnOfWhatIsNotTold(DoseImage& dose)
{
    if (!dose.tellsPosition) {
        dose.warnings.emplace_back("tells no position; its first voxel is put at 0, 0, 0");
    }
    if (!dose.tellsOrientation) {
        dose.warnings.emplace_back("tells no orientation; its axes are taken for those of the "
                                   "patient (to the left, to the back, to the head)");
    }
}

DoseImage readBytes(ByteView file, const FindFile& find, const Host& host)
{
    if (file.empty()) {
        refuse("is empty");
    }
    const std::optional<FileFormat> format = formatOf(file, host.deflate);
    if (!format) {
        refuseForeign();
    }
    DoseImage dose = readAs(*format, file, find, host);
    checkValues(dose.image.values);
    dose.format = formatName(*format);
    warnOfWhatIsNotTold(dose);
    return dose;
}

/** Whether it is worth while to read on behind the beginning of a file. */
bool mayBeDose(ByteView beginning, const Deflate& deflate)
{
    return beginning.empty() || formatOf(beginning, deflate).has_value();
}

Bytes contentsOf(const std::string& path, const Deflate& deflate)
{
    SourceFile source(path);
    Bytes beginning = source.readBeginning();
    if (!mayBeDose(beginning.view(), deflate)) {
        refuseForeign();
    }
    return source.readRest(std::move(beginning));
}

DoseImage readPath(const std::string& path, const Host& host)
{
    const std::string header = headerOfPair(path).value_or(path);
    std::string dataPath = header;
    const auto watch = [&host](const std::string& name, const Bytes& contents) {
        if (host.watch) {
            host.watch(name, contents.view());
        }
    };
    const FindFile find = [&](const std::string& name) {
        return resultOf([&] {
            dataPath = name.empty() ? dataOfPair(header) : pathBeside(header, name);
            Bytes contents = readDataFile(dataPath);
            watch(dataPath, contents);
            return contents;
        });
    };
    const Bytes contents = contentsOf(header, host.deflate);
    DoseImage dose = readBytes(contents.view(), find, host);
    watch(header, contents);
    dose.path = header;
    dose.dataPath = dataPath;
    return dose;
}

} // namespace

Result<DoseImage> readDose(ByteView file, const FindFile& find, const Host& host)
{
    return resultOf([&] { return readBytes(file, find, host); });
}

Result<DoseImage> readDoseFile(const std::string& path, const Host& host)
{
    return resultOf([&] { return readPath(path, host); });
}

} // namespace files
