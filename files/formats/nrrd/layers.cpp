#include "files/formats/nrrd/layers.h"

#include <algorithm>
#include <utility>

#include "files/formats/nrrd/volume.h"
#include "files/formats/volumeFormats.h"

namespace files
{

namespace
{

/** The values of one layer, in the order of the other axes. */
LargeVector<float> layerOf(const nrrd::Volume& volume, std::size_t layer)
{
    const auto layers = static_cast<std::size_t>(volume.axes.layerCount());
    std::size_t run = 1; // values of a layer that lie together
    for (std::size_t i = 0; i < *volume.axes.layers; ++i) {
        run *= static_cast<std::size_t>(volume.axes.sizes[i]);
    }
    LargeVector<float> values(volume.values.size() / layers);
    for (std::size_t i = 0; i < values.size(); i += run) {
        std::copy_n(volume.values.data() + i * layers + layer * run, run, values.data() + i);
    }
    return values;
}

TextHeader keysOf(const nrrd::Header& header)
{
    TextHeader keys;
    for (const std::string_view line : header.keysAndValues) {
        const auto separator = line.find(":=");
        keys.add(line.substr(0, separator), line.substr(separator + 2));
    }
    return keys;
}

} // namespace

NrrdLayers readNrrdLayers(ByteView file, const FindFile& find, const Host& host)
{
    nrrd::Volume volume = nrrd::readAll(file, nrrd::Lists::layers, find, host);
    NrrdLayers layers{std::move(volume.dose), {}, keysOf(volume.header)};
    for (std::size_t i = 0; i < static_cast<std::size_t>(volume.axes.layerCount()); ++i) {
        Image image = toPatientAxes(volume.stored, volume.axes.layers ? Values(layerOf(volume, i))
                                                                      : std::move(volume.values));
        layers.common.image.geometry = image.geometry;
        layers.values.push_back(std::move(image.values));
    }
    completeVolume(FileFormat::nrrd, layers.common);
    return layers;
}

} // namespace files
