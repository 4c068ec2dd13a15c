#include "host/calls.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include "files/nativeDeflate.h"

namespace host
{

using files::FileError;

namespace
{

thread_local bool excerptsAreShown = true;

} // namespace

bool areExcerptsShown()
{
    return excerptsAreShown;
}

bool setExcerpts(bool areShown)
{
    return std::exchange(excerptsAreShown, areShown);
}

int report(const FileError& failure, zarnGIHost_Error* error)
{
    if (error != nullptr) {
        error->systemError = failure.systemError;
        const std::size_t length =
            std::min<std::size_t>(failure.sentence.size(), ZARNGI_HOST_SENTENCE_SIZE - 1);
        std::copy_n(failure.sentence.data(), length, error->sentence);
        error->sentence[length] = '\0';
    }
    switch (failure.kind) {
    case FileError::Kind::system:
        return ZARNGI_HOST_SYSTEM;
    case FileError::Kind::outOfMemory:
        return ZARNGI_HOST_NO_MEMORY;
    case FileError::Kind::damaged:
    case FileError::Kind::notSupported:
    case FileError::Kind::foreign:
        break;
    }
    return ZARNGI_HOST_REFUSED;
}

int refuseArgument(const char* sentence, zarnGIHost_Error* error)
{
    report({FileError::Kind::damaged, sentence}, error);
    return ZARNGI_HOST_BAD_ARGUMENT;
}

files::Host readerHost(const zarnGIHost_Told& told)
{
    files::Host host{files::nativeDeflate()};
    host.keepsUncertainty = true;
    host.quotesFiles = excerptsAreShown;
    const auto give = [](std::optional<double>& unit, double value) {
        if (value > 0) {
            unit = value;
        }
    };
    give(host.units.gray, told.units.gray);
    give(host.units.millimetres, told.units.millimetres);
    give(host.units.pixelSize, told.pixelSize);
    return host;
}

files::FindFile finder(zarnGIHost_FindFile find, void* context)
{
    return [find, context](const std::string& name) -> files::Result<files::Bytes> {
        std::size_t size = 0;
        const void* const contents = find == nullptr ? nullptr : find(name.c_str(), context, &size);
        if (contents == nullptr) {
            return FileError{FileError::Kind::damaged, "its data file is missing"};
        }
        files::Bytes bytes(size);
        std::memcpy(bytes.data(), contents, size);
        return bytes;
    };
}

bool isGrid(const int* size, const double* spacing, const double* origin)
{
    std::int64_t voxels = 1;
    for (int i = 0; i < 3; ++i) {
        const bool fits = size[i] >= 1 && size[i] <= files::mostVoxels / voxels;
        if (!fits || !(spacing[i] > 0 && std::isfinite(spacing[i])) || !std::isfinite(origin[i])) {
            return false;
        }
        voxels *= size[i];
    }
    return true;
}

files::Geometry geometryOf(const int* size, const double* spacing, const double* origin)
{
    files::Geometry geometry{};
    std::copy_n(size, 3, geometry.size.begin());
    std::copy_n(spacing, 3, geometry.spacing.begin());
    std::copy_n(origin, 3, geometry.origin.begin());
    return geometry;
}

bool isGrid(const zarnGIHost_Volume& volume)
{
    return isGrid(volume.size, volume.spacing, volume.origin);
}

files::Geometry geometryOf(const zarnGIHost_Volume& volume)
{
    return geometryOf(volume.size, volume.spacing, volume.origin);
}

bool holdsDoses(const zarnGIHost_Volume* volume)
{
    return volume != nullptr && volume->values != nullptr && volume->type == ZARNGI_HOST_FLOAT &&
           isGrid(*volume);
}

zarngi::DoseView dosesOf(const zarnGIHost_Volume& volume)
{
    const files::Geometry geometry = geometryOf(volume);
    return {geometry, {static_cast<const float*>(volume.values), geometry.voxels()}};
}

int hand(files::ByteView bytes, zarnGIHost_Bytes* out)
{
    auto* const data = static_cast<unsigned char*>(std::malloc(bytes.size()));
    if (data == nullptr) {
        return ZARNGI_HOST_NO_MEMORY;
    }
    std::memcpy(data, bytes.data(), bytes.size());
    *out = {data, bytes.size()};
    return ZARNGI_HOST_OK;
}

} // namespace host
