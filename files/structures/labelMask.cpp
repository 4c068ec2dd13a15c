#include "files/structures/labelMask.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

#include "files/characters/utf8.h"
#include "files/error.h"
#include "files/formats/nrrd/layers.h"
#include "files/formats/volumeFormats.h"
#include "files/structures/structureNames.h"
#include "files/text.h"
#include "platform/paths.h"

namespace files
{

namespace
{

/** Whole numbers up to here are told apart in single precision, in which volumes are read. */
constexpr std::int32_t largestLabel = (1 << 24) - 1;

/** Atlases have a few thousand; doses stored as whole numbers have more. */
constexpr std::size_t mostLabels = 10000;

std::vector<std::int32_t> labelsOf(std::span<const float> values)
{
    std::vector<std::int32_t> labels(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const float value = values[i];
        if (!(value >= 0 && value <= static_cast<float>(largestLabel)) ||
            value != std::floor(value)) {
            refuseUnsupported(
                "is no label mask: it has a value of " + number(static_cast<double>(value), 9) +
                " (labels are whole numbers from 0 to " + grouped(largestLabel) + ")");
        }
        labels[i] = static_cast<std::int32_t>(value);
    }
    return labels;
}

/** The labels that voxels have, but 0. */
std::set<std::int32_t> labelsIn(const LabelGrid& grid)
{
    std::set<std::int32_t> found;
    std::int32_t last = 0;
    for (const std::int32_t label : grid.labels) {
        if (label == last || label == 0) {
            continue;
        }
        found.insert(label);
        last = label;
        if (found.size() > mostLabels) {
            refuseUnsupported("is no label mask: it has more than " + grouped(mostLabels) +
                              " different values");
        }
    }
    return found;
}

/** What a file says of a segment. */
struct Segment {
    std::string name;
    std::int32_t label = 1;
    std::size_t layer = 0;
    std::optional<std::array<std::uint8_t, 3>> colour;
};

std::optional<std::array<std::uint8_t, 3>> colourOf(const std::string& entry)
{
    std::array<std::uint8_t, 3> colour{};
    const std::vector<double> parts = numbersOf(entry, "a colour of a segment", colour.size());
    for (std::size_t i = 0; i < colour.size(); ++i) {
        if (!(parts[i] >= 0 && parts[i] <= 1)) {
            refuseEntry("a colour of a segment", entry);
        }
        colour[i] = static_cast<std::uint8_t>(std::lround(parts[i] * 255));
    }
    return colour;
}

/** A whole number from `least` to `most`, if it is told. */
std::int64_t wholeNumberOf(const std::string* entry, const char* what, std::int64_t least,
                           std::int64_t most, std::int64_t otherwise)
{
    if (entry == nullptr) {
        return otherwise;
    }
    const std::int64_t value = wholeNumbersOf(*entry, what, 1)[0];
    if (value < least || value > most) {
        refuseEntry(what, *entry);
    }
    return value;
}

/** The segment of a number, if the file tells of it. */
std::optional<Segment> segmentOf(const TextHeader& keys, std::size_t index, std::size_t layers)
{
    const auto find = [&keys, start = "segment" + std::to_string(index) + "_"](const char* key) {
        return keys.find(start + key);
    };
    const std::string* const id = find("id");
    const std::string* const name = find("name");
    const std::string* const label = find("labelvalue");
    if (id == nullptr && name == nullptr && label == nullptr) {
        return {};
    }
    Segment segment;
    segment.label =
        static_cast<std::int32_t>(wholeNumberOf(label, "a label of a segment", 1, largestLabel, 1));
    const std::string* const layer = find("layer");
    const auto last = static_cast<std::int64_t>(layers) - 1;
    segment.layer = static_cast<std::size_t>(wholeNumberOf(
        layer, "a layer of a segment", 0, last, std::min(static_cast<std::int64_t>(index), last)));
    segment.name = oneLine(name != nullptr ? *name : id != nullptr ? *id : "");
    if (segment.name.empty()) {
        segment.name = "label " + std::to_string(segment.label);
    }
    if (const std::string* const colour = find("color")) {
        segment.colour = colourOf(*colour);
    }
    return segment;
}

std::vector<Segment> segmentsOf(const TextHeader& keys, std::size_t layers)
{
    std::vector<Segment> segments;
    while (const auto segment = segmentOf(keys, segments.size(), layers)) {
        segments.push_back(*segment);
    }
    return segments;
}

/** The volumes of a file, which all formats but NRRD have one of. */
NrrdLayers layersOf(FileFormat format, ByteView file, const FindFile& find, const Host& host)
{
    if (format == FileFormat::nrrd) {
        return readNrrdLayers(file, find, host);
    }
    NrrdLayers layers;
    layers.common = readVolume(format, file, find, host);
    layers.values.push_back(std::move(layers.common.image.values));
    return layers;
}

/** One layer, and the labels in it that no structure has yet. */
struct Layer {
    std::shared_ptr<const LabelGrid> grid;
    std::set<std::int32_t> labels;
};

std::vector<Layer> takeLayers(NrrdLayers& volumes)
{
    std::vector<Layer> layers;
    for (Values& values : volumes.values) {
        auto grid = labelGridOf(volumes.common.image.geometry, values);
        values = {};
        std::set<std::int32_t> labels = labelsIn(*grid);
        layers.push_back({std::move(grid), std::move(labels)});
    }
    return layers;
}

Structure structureOf(const Segment& segment, Layer& layer)
{
    Structure structure;
    structure.name = segment.name;
    structure.number = segment.label;
    structure.colour = segment.colour;
    structure.region = LabelRegion{layer.grid, segment.label};
    layer.labels.erase(segment.label);
    return structure;
}

/** The structures that the file tells of, and those of the labels of which it does not. */
std::vector<Structure> structuresOf(const std::vector<Segment>& segments,
                                    std::vector<Layer>& layers)
{
    std::vector<Structure> structures;
    for (const Segment& segment : segments) {
        structures.push_back(structureOf(segment, layers[segment.layer]));
    }
    for (std::size_t i = 0; i < layers.size(); ++i) {
        while (!layers[i].labels.empty()) {
            const std::int32_t label = *layers[i].labels.begin();
            std::string name = "label " + std::to_string(label);
            name += layers.size() > 1 ? " of layer " + std::to_string(i + 1) : "";
            structures.push_back(structureOf({std::move(name), label, i, {}}, layers[i]));
        }
    }
    return structures;
}

/**
 * The label of a file that has nothing else, as those have that hold one structure: 1, which may be
 * nowhere, or 255, which images show as white.
 */
std::optional<std::int32_t> onlyLabel(const std::vector<Layer>& layers)
{
    if (layers.size() > 1 || layers[0].labels.size() > 1) {
        return {};
    }
    const std::int32_t label = layers[0].labels.empty() ? 1 : *layers[0].labels.begin();
    return label == 1 || label == 255 ? std::optional(label) : std::nullopt;
}

/** Names in UTF-8, as segmentation programs write them; else they are taken as Latin-1. */
void convertNames(StructureSet& set)
{
    bool isAssumed = false;
    for (Structure& structure : set.structures) {
        isAssumed = isAssumed || !isUtf8(structure.name);
        structure.name = oneLine(utf8OrLatin1(structure.name));
    }
    if (isAssumed) {
        set.warnings.emplace_back("has names that are not in UTF-8; they are taken as Latin-1");
    }
}

} // namespace

std::shared_ptr<const LabelGrid> labelGridOf(const Geometry& geometry,
                                             std::span<const float> values)
{
    auto grid = std::make_shared<LabelGrid>();
    grid->geometry = geometry;
    grid->labels = labelsOf(values);
    return grid;
}

StructureSet readLabelMask(FileFormat format, ByteView file, const std::string& name,
                           const FindFile& find, const Host& host)
{
    NrrdLayers volumes = layersOf(format, file, find, host);
    std::vector<Layer> layers = takeLayers(volumes);
    std::vector<Segment> segments = segmentsOf(volumes.keys, layers.size());
    StructureSet set;
    set.format = volumes.common.format;
    set.warnings = std::move(volumes.common.warnings);
    if (std::all_of(layers.begin(), layers.end(),
                    [](const Layer& layer) { return layer.labels.empty(); })) {
        const char* const note = "has no label but 0, which is no structure";
        if (segments.empty() && layers.size() > 1) {
            refuseUnsupported(note); // not one to be named after the file
        }
        set.warnings.emplace_back(note);
    }
    const std::optional<std::int32_t> label = onlyLabel(layers);
    const bool isNamedAfterFile = segments.empty() && label.has_value();
    if (isNamedAfterFile) {
        segments.push_back({structureNameOf(name), *label, 0, {}});
    }
    set.structures = structuresOf(segments, layers);
    for (Structure& structure : set.structures) {
        structure.isNamedAfterFile = isNamedAfterFile;
    }
    convertNames(set);
    makeNamesUnique(set.structures);
    return set;
}

std::string structureNameOf(const std::string& file)
{
    std::string name = platform::nameOf(file);
    for (const std::string_view ending :
         {".gz", ".nii", ".nrrd", ".nhdr", ".mha", ".mhd", ".hdr", ".img", ".seg"}) {
        if (lowerCase(name).ends_with(ending) && name.size() > ending.size()) {
            name.erase(name.size() - ending.size());
        }
    }
    return oneLine(name);
}

} // namespace files
