// Files of random contents given to the readers. Each ends in a dose that holds together or in one
// clear line of the readers' own, and memory in proportion to the file; so do structures.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <string_view>

#include "files/measurements/planeGrid.h"
#include "files/nativeDeflate.h"
#include "files/readDose.h"
#include "files/structures/contourNotes.h"
#include "files/structures/readStructures.h"
#include "files/structures/region.h"

namespace
{

constexpr std::size_t companionBytes = 600;

void require(bool condition, const char* what, const std::string& text = {})
{
    if (!condition) {
        std::fprintf(stderr, "violated: %s\n%s\n", what, text.c_str());
        std::abort();
    }
}

/** For headers that name their data: one file, whatever its name. */
files::Result<files::Bytes> findFile(const std::string& name)
{
    if (name == "absent.raw") {
        return files::FileError{files::FileError::Kind::damaged, "its data file is missing"};
    }
    files::Bytes bytes(companionBytes);
    std::fill_n(bytes.data(), companionBytes, static_cast<unsigned char>('\x3f'));
    return bytes;
}

/** Stands for a decoder of JPEG families: as many bytes as are asked for. */
files::Result<files::Bytes> unpackPixels(files::ByteView, std::size_t bytes)
{
    constexpr std::size_t most = 1 << 20;
    if (bytes > most) {
        return files::FileError{files::FileError::Kind::damaged, "cannot be unpacked"};
    }
    files::Bytes pixels(bytes);
    std::fill_n(pixels.data(), bytes, static_cast<unsigned char>(1));
    return pixels;
}

/** What a plane or points tell agrees with their values. */
void checkMeasurement(const files::DoseImage& dose)
{
    const files::Measurement& measurement = *dose.measurement;
    const std::size_t places = dose.image.values.size();
    require(measurement.points.size() == (dose.isPoints() ? places : 0), "a place for each point");
    require(measurement.points.size() <= files::mostPoints, "no more points than are searched");
    for (const files::Vec3& point : measurement.points) {
        require(std::all_of(point.begin(), point.end(), [](double x) { return std::isfinite(x); }),
                "points are somewhere");
    }
    require(!dose.isPlane() || dose.image.geometry.size[measurement.normal] == 1,
            "a plane has one layer");
    std::size_t gaps = 0;
    for (std::size_t i = 0; i < measurement.isMeasured.size(); ++i) {
        const bool isGap = measurement.isMeasured[i] == 0;
        gaps += isGap ? 1 : 0;
        require(!isGap || dose.image.values[i] == 0, "no dose where none is");
    }
    require(measurement.isMeasured.empty() || measurement.isMeasured.size() == places,
            "it is known of each place whether it has a dose");
    require(gaps == measurement.gaps && gaps < places, "gaps are counted, and not all");
}

void checkDose(const files::DoseImage& dose, std::size_t fileBytes)
{
    constexpr std::size_t bestCompression = 1032;
    constexpr std::size_t mostOfDecoder = 1 << 20;
    const files::Image& image = dose.image;
    require(image.values.size() == image.geometry.voxels(), "a value per voxel");
    const std::size_t most = (companionBytes + fileBytes) * bestCompression;
    require(image.values.size() <= std::max(most, dose.dicom ? mostOfDecoder : 0),
            "no voxel that the file does not tell");
    if (dose.measurement) {
        checkMeasurement(dose);
    }
    for (const float value : image.values) {
        require(std::isfinite(value), "doses are numbers");
    }
    for (std::size_t i = 0; i < 3; ++i) {
        require(image.geometry.size[i] > 0 && image.geometry.spacing[i] > 0 &&
                    std::isfinite(image.geometry.origin[i]),
                "a sensible grid");
    }
}

void checkLine(const std::string& text)
{
    constexpr std::size_t longest = 500;
    const auto isControl = [](unsigned char c) { return c < ' ' || c == 0x7F; };
    require(!text.empty() && std::none_of(text.begin(), text.end(), isControl), "one line", text);
    require(text.size() < longest, "a short line", text);
}

/** A refusal in one line of the readers' own. */
void checkError(const files::FileError& error)
{
    checkLine(error.sentence);
    require(error.isOfContents() || error.kind == files::FileError::Kind::foreign,
            "small files fit in memory, and errors are the readers' own", error.sentence);
}

void checkLines(const std::vector<std::string>& lines)
{
    for (const std::string& line : lines) {
        checkLine(line);
    }
}

void checkStructure(const files::Structure& structure)
{
    constexpr double farthest = 1e6; // mm
    require(!structure.name.empty(), "every structure has a name");
    require(structure.refusal.empty() || structure.contours.empty(), "refused or with contours");
    for (const files::Contour& contour : structure.contours) {
        require(contour.vertices.size() >= 3, "a contour has an inside");
        for (const files::Vec3& vertex : contour.vertices) {
            require(std::all_of(vertex.begin(), vertex.end(),
                                [](double x) { return std::fabs(x) <= farthest; }),
                    "vertices are near the patient");
        }
    }
    if (structure.region) {
        const files::LabelGrid& grid = *structure.region->grid;
        require(grid.labels.size() == grid.geometry.voxels(), "a label per voxel");
        require(structure.region->label > 0, "0 is no structure");
    }
    if (!structure.refusal.empty()) {
        checkLine(structure.refusal);
    }
    checkLines(files::contourNotes(structure));
}

void checkStructures(const files::StructureSet& set)
{
    std::set<std::string> names;
    for (const files::Structure& structure : set.structures) {
        checkStructure(structure);
        require(names.insert(structure.name).second, "every name is the only one");
    }
    checkLines(set.warnings);
    const files::Geometry grid{{3, 4, 5}, {2.5, 2.5, 2.5}, {-3, -3, -3}};
    for (const auto& region : files::regionsOf(set, grid.spacing[2])) {
        if (region) {
            require(region->volume() >= 0, "no structure is smaller than nothing");
            require(files::pointCount(region->pointsIn(files::voxelCentres(grid))) <= grid.voxels(),
                    "no voxel twice");
            checkLines(region->notes());
        }
    }
}

/** A block that may be kept gives what bytes give that are lent. */
void checkGiven(files::ByteView bytes, const files::Result<files::DoseImage>& lent,
                const files::Host& host)
{
    files::Bytes block(bytes.size());
    std::copy(bytes.begin(), bytes.end(), block.data());
    const files::Result<files::DoseImage> given =
        files::readDose(files::Contents(block), "", findFile, host);
    require(bool(given) == bool(lent), "a file is read or refused, lent or given");
    if (!given) {
        require(given.error().sentence == lent.error().sentence, "by one sentence");
        return;
    }
    const files::Values& values = given->image.values;
    require(values.size() == lent->image.values.size() &&
                std::memcmp(values.data(), lent->image.values.data(),
                            values.size() * sizeof(float)) == 0,
            "the same doses, bit by bit");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    files::Host host{files::nativeDeflate(), unpackPixels};
    if (size % 2 == 0) { // else what tells none is refused
        host.units.gray = 1.0 / 100;
        host.units.pixelSize = 0.5;
    }
    const files::ByteView lent{bytes, size};
    const files::Result<files::DoseImage> dose = files::readDose(lent, "", findFile, host);
    if (dose) {
        checkDose(*dose, size);
        checkLines(dose->warnings);
    } else {
        checkError(dose.error());
    }
    checkGiven(lent, dose, host);
    const files::Result<files::StructureSet> set =
        files::readStructures(lent, "mask.nrrd", findFile, host);
    if (set) {
        checkStructures(*set);
    } else {
        checkError(set.error());
    }
    return 0;
}
