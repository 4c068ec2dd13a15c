#include "files/formats/nrrd/volume.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

#include "files/error.h"
#include "files/formats/nrrd/geometry.h"
#include "files/formats/nrrd/values.h"
#include "files/formats/volumeFormats.h"

namespace files::nrrd
{

namespace
{

std::size_t valueCount(std::size_t voxels, std::int64_t layers)
{
    constexpr std::int64_t mostLayers = 10000; // each takes memory of its own
    constexpr std::int64_t mostValues = std::numeric_limits<std::int32_t>::max();
    if (layers < 1 ||
        layers > std::min(mostLayers, mostValues / static_cast<std::int64_t>(voxels))) {
        refuseDamaged("its grid has " + std::to_string(layers) + " layers");
    }
    return voxels * static_cast<std::size_t>(layers);
}

} // namespace

Volume readAll(const Contents& file, Lists lists, const FindFile& find, const Host& host)
{
    Volume volume{parseHeader(file.bytes), {}, {}, {}, {}};
    const Header& header = volume.header;
    volume.axes = axesOf(header, lists);
    volume.stored = geometryOf(header, volume.axes, volume.dose);
    const std::size_t count = valueCount(checkGeometry(volume.stored), volume.axes.layerCount());
    const Scaling scaling = scalingOf(header, volume.dose);
    const std::string* const name = header.findAny({"data file", "datafile"});
    Bytes companion;
    if (name != nullptr) {
        checkDataFileName(*name);
        companion = valueOf(find(*name));
    }
    const Contents data =
        name == nullptr ? Contents(file, part(file.bytes, header.length)) : Contents(companion);
    volume.values = valuesOf(header, data, scaling, count, host.deflate);
    return volume;
}

} // namespace files::nrrd

namespace files
{

DoseImage readNrrd(const Contents& file, const FindFile& find, const Host& host)
{
    nrrd::Volume volume = nrrd::readAll(file, nrrd::Lists::refused, find, host);
    volume.dose.image = toPatientAxes(volume.stored, std::move(volume.values));
    return std::move(volume.dose);
}

} // namespace files
