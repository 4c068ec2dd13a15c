#include "volumeFile.h"

#include <itkMetaImageIO.h>
#include <itkNiftiImageIO.h>
#include <itkNrrdImageIO.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "failure.h"
#include "orientation.h"
#include "probe.h"
#include "silentStderr.h"
#include "volumeHeader.h"

namespace cli
{

namespace
{

using Component = itk::IOComponentEnum;

itk::ImageIOBase::Pointer makeImageIO(FileFormat format)
{
    switch (format) {
    case FileFormat::nrrd:
        return itk::NrrdImageIO::New().GetPointer();
    case FileFormat::metaImage:
        return itk::MetaImageIO::New().GetPointer();
    default:
        return itk::NiftiImageIO::New().GetPointer();
    }
}

/** ITK's reader with the header of the file read; its complaints name its own source files. */
itk::ImageIOBase::Pointer readHeader(const std::string& path, FileFormat format)
{
    const itk::ImageIOBase::Pointer io = makeImageIO(format);
    const auto read = [&] {
        io->SetFileName(path);
        io->ReadImageInformation();
    };
    probe(read);
    try {
        const SilentStderr silence;
        read();
    } catch (const itk::ExceptionObject&) {
        throw InputError("its " + formatName(format) + " header is damaged or not supported");
    }
    return io;
}

void checkShape(const itk::ImageIOBase& io)
{
    const unsigned dimensions = io.GetNumberOfDimensions();
    bool isVolume = dimensions >= 3;
    for (unsigned i = 3; i < dimensions; ++i) {
        isVolume = isVolume && io.GetDimensions(i) == 1;
    }
    if (!isVolume) {
        throw InputError("is not three-dimensional but " + std::to_string(dimensions) +
                         "-dimensional");
    }
    if (io.GetNumberOfComponents() != 1) {
        throw InputError("has " + std::to_string(io.GetNumberOfComponents()) +
                         " values per voxel instead of one dose");
    }
}

StoredGeometry geometryOf(const itk::ImageIOBase& io)
{
    StoredGeometry stored;
    for (unsigned i = 0; i < 3; ++i) {
        stored.size[i] = static_cast<std::int64_t>(io.GetDimensions(i));
        stored.spacing[i] = io.GetSpacing(i);
        stored.origin[i] = io.GetOrigin(i);
        const std::vector<double> axis = io.GetDirection(i);
        std::copy_n(axis.begin(), 3, stored.axes[i].begin());
    }
    return stored;
}

ValueFormat formatOf(const itk::ImageIOBase& io)
{
    using Kind = ValueFormat::Kind;
    ValueFormat format;
    format.isBigEndian = io.GetByteOrder() == itk::IOByteOrderEnum::BigEndian;
    switch (io.GetComponentType()) {
    case Component::UCHAR:
    case Component::USHORT:
    case Component::UINT:
    case Component::ULONG:
    case Component::ULONGLONG:
        format.kind = Kind::unsignedInteger;
        break;
    case Component::CHAR:
    case Component::SHORT:
    case Component::INT:
    case Component::LONG:
    case Component::LONGLONG:
        format.kind = Kind::signedInteger;
        break;
    case Component::FLOAT:
    case Component::DOUBLE:
        format.kind = Kind::floatingPoint;
        break;
    default:
        throw InputError("has values of an unknown type");
    }
    format.bytes = static_cast<unsigned>(io.GetComponentSize());
    return format;
}

itk::ImageIORegion wholeRegion(const itk::ImageIOBase& io)
{
    const unsigned dimensions = io.GetNumberOfDimensions();
    itk::ImageIORegion region(dimensions);
    for (unsigned i = 0; i < dimensions; ++i) {
        region.SetIndex(i, 0);
        region.SetSize(i, io.GetDimensions(i));
    }
    return region;
}

[[noreturn]] void failToWrite()
{
    throw InputError("cannot be written whole; the disk may be full");
}

/** ITK's writers do not notice a full disk: what cannot be read back has not been written. */
void checkWritten(const std::string& path, FileFormat format, const Image& image)
{
    bool isThere = false;
    try {
        const Image written = readVolume(path, format).image;
        isThere = written.geometry.size == image.geometry.size &&
                  std::memcmp(written.values.data(), image.values.data(),
                              image.values.size() * sizeof(float)) == 0;
    } catch (const InputError&) {
        isThere = false;
    }
    if (!isThere) {
        failToWrite();
    }
}

FileFormat formatByName(const std::string& path)
{
    if (path.ends_with(".mha")) {
        return FileFormat::metaImage;
    }
    return path.ends_with(".nrrd") ? FileFormat::nrrd : FileFormat::nifti;
}

} // namespace

DoseImage readVolume(const std::string& path, FileFormat format)
{
    const VolumeHeader header = checkVolumeHeader(path, format);
    const itk::ImageIOBase::Pointer io = readHeader(path, format);
    checkShape(*io);
    const StoredGeometry stored = geometryOf(*io);
    checkGeometry(stored);
    const auto count =
        static_cast<std::uintmax_t>(stored.size[0] * stored.size[1] * stored.size[2]);
    const ValueFormat valueFormat = header.format ? *header.format : formatOf(*io);
    DoseImage dose;
    dose.image = toPatientAxes(stored, readStoredValues(header.data, valueFormat, count));
    dose.dataPath = header.data.path;
    dose.tellsPosition = header.tellsPosition;
    return dose;
}

bool isWritableVolumeName(const std::string& path)
{
    return path.ends_with(".mha") || path.ends_with(".nrrd") || path.ends_with(".nii") ||
           path.ends_with(".nii.gz");
}

void writeVolume(const std::string& path, const Image& image)
{
    const itk::ImageIOBase::Pointer io = makeImageIO(formatByName(path));
    io->SetFileName(path);
    io->SetNumberOfDimensions(3);
    for (unsigned i = 0; i < 3; ++i) {
        std::vector<double> axis(3, 0.0);
        axis[i] = 1;
        io->SetDimensions(i, static_cast<itk::SizeValueType>(image.geometry.size[i]));
        io->SetSpacing(i, image.geometry.spacing[i]);
        io->SetOrigin(i, image.geometry.origin[i]);
        io->SetDirection(i, axis);
    }
    io->SetNumberOfComponents(1);
    io->SetPixelType(itk::IOPixelEnum::SCALAR);
    io->SetComponentType(Component::FLOAT);
    io->SetUseCompression(!path.ends_with(".nii"));
    try {
        const SilentStderr silence;
        io->SetIORegion(wholeRegion(*io));
        io->Write(image.values.data());
    } catch (const itk::ExceptionObject&) {
        failToWrite();
    }
    checkWritten(path, formatByName(path), image);
}

} // namespace cli
