#include "volumeFile.h"

#include <itkMetaImageIO.h>
#include <itkNiftiImageIO.h>
#include <itkNrrdImageIO.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "failure.h"
#include "orientation.h"
#include "silentStderr.h"
#include "text.h"
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

/** What ITK complains about, without its file names, line numbers and object addresses. */
std::string reasonOf(const itk::ExceptionObject& error)
{
    std::string text = oneLine(error.GetDescription());
    if (const auto address = text.find("): "); address != std::string::npos) {
        text.erase(0, address + 3);
    }
    constexpr std::size_t longest = 160;
    return text.size() > longest ? text.substr(0, longest) + "..." : text;
}

/** Runs a step of ITK quietly and puts its complaint into the program's words. */
template <class Step> void quietly(const char* what, Step step)
{
    try {
        const SilentStderr silence;
        step();
    } catch (const itk::ExceptionObject& error) {
        throw InputError(std::string(what) + ": " + reasonOf(error));
    }
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

template <class Stored> void convert(const std::vector<char>& bytes, std::vector<float>& values)
{
    for (std::size_t i = 0; i < values.size(); ++i) {
        Stored value;
        std::memcpy(&value, bytes.data() + i * sizeof(Stored), sizeof(Stored));
        values[i] = static_cast<float>(value);
    }
}

void convert(Component type, const std::vector<char>& bytes, std::vector<float>& values)
{
    switch (type) {
    case Component::UCHAR:
        return convert<unsigned char>(bytes, values);
    case Component::CHAR:
        return convert<signed char>(bytes, values);
    case Component::USHORT:
        return convert<unsigned short>(bytes, values);
    case Component::SHORT:
        return convert<short>(bytes, values);
    case Component::UINT:
        return convert<unsigned int>(bytes, values);
    case Component::INT:
        return convert<int>(bytes, values);
    case Component::ULONG:
        return convert<unsigned long>(bytes, values);
    case Component::LONG:
        return convert<long>(bytes, values);
    case Component::ULONGLONG:
        return convert<unsigned long long>(bytes, values);
    case Component::LONGLONG:
        return convert<long long>(bytes, values);
    case Component::FLOAT:
        return convert<float>(bytes, values);
    case Component::DOUBLE:
        return convert<double>(bytes, values);
    default:
        throw InputError("has values of an unknown type");
    }
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
    const StoredData data = checkVolumeHeader(path, format);
    const itk::ImageIOBase::Pointer io = makeImageIO(format);
    const std::string failure = "cannot be read as " + formatName(format);
    quietly(failure.c_str(), [&] {
        io->SetFileName(path);
        io->ReadImageInformation();
    });
    checkShape(*io);
    const StoredGeometry stored = geometryOf(*io);
    checkGeometry(stored);
    const auto count = static_cast<std::size_t>(stored.size[0] * stored.size[1] * stored.size[2]);
    const std::size_t bytesPerValue = io->GetComponentSize();
    if (bytesPerValue == 0 || !data.canHold(count, bytesPerValue)) {
        throw InputError("is cut short, or its header lies: " + join(stored.size, " x ") +
                         " voxels do not fit in " + grouped(data.bytes) + " bytes");
    }
    std::vector<char> bytes(count * bytesPerValue);
    quietly(failure.c_str(), [&] {
        io->SetIORegion(wholeRegion(*io));
        io->Read(bytes.data());
    });
    std::vector<float> values(count);
    convert(io->GetComponentType(), bytes, values);
    DoseImage dose;
    dose.image = toPatientAxes(stored, std::move(values));
    dose.dataPath = data.path;
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
    quietly("cannot be written", [&] {
        io->SetIORegion(wholeRegion(*io));
        io->Write(image.values.data());
    });
}

} // namespace cli
