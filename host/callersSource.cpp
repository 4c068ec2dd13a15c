#include "host/callersSource.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <span>

#include "comparison/failure.h"
#include "files/nativeDeflate.h"
#include "files/plans/readPlan.h"
#include "files/readDose.h"
#include "files/structures/readStructures.h"
#include "files/text.h"
#include "host/calls.h"
#include "host/structures.h"

namespace host
{

namespace
{

using files::DoseImage;
using files::FileError;
using files::Measurement;

/** What stands for files in memory and has no format. */
constexpr const char* arrayFormat = "array";

/** By the numbers of enum zarnGIHost_Unit. */
/** By the numbers of enum zarnGIHost_Unit. */
constexpr std::array<files::DoseUnit, 5> doseUnits{
    files::DoseUnit::gray, files::DoseUnit::relative, files::DoseUnit::grayPerHistory,
    files::DoseUnit::grayOfRun, files::DoseUnit::calibrated};

bool isOneLayer(const zarnGIHost_Volume& volume, int normal)
{
    return normal >= 0 && normal <= 2 && volume.size[normal] == 1;
}

/** Whether places are such as zarnGIHost_getPlaces() tells for the grid. */
bool arePlaces(const zarnGIHost_Places& places, const zarnGIHost_Volume& volume)
{
    switch (places.kind) {
    case ZARNGI_HOST_VOLUME:
        return places.points == nullptr;
    case ZARNGI_HOST_PLANE:
        return places.points == nullptr &&
               isOneLayer(volume, places.isInSpace != 0 ? places.normal : 2);
    case ZARNGI_HOST_POINTS:
        return places.points != nullptr && places.isMeasured == nullptr && volume.size[1] == 1 &&
               volume.size[2] == 1 &&
               std::all_of(places.points, places.points + 3 * volume.size[0],
                           [](double x) { return std::isfinite(x); });
    default:
        return false;
    }
}

/** The grid with its own numbers where those of the caller mean nothing. */
zarnGIHost_Volume withGrid(zarnGIHost_Volume volume, const zarnGIHost_Places& places)
{
    const bool isFlat = places.kind == ZARNGI_HOST_PLANE && places.isInSpace == 0;
    const bool isLine = isFlat && volume.size[1] == 1 && volume.spacing[1] == 0;
    const int first = places.kind == ZARNGI_HOST_POINTS ? 0 : isLine ? 1 : isFlat ? 2 : 3;
    for (int i = first; i < 3; ++i) {
        volume.spacing[i] = first == 0 ? 1 : files::planeThickness;
        volume.origin[i] = 0;
    }
    return volume;
}

const char* problemOf(const zarnGIHost_NamedDose& dose)
{
    if (dose.name == nullptr || dose.volume.values == nullptr) {
        return "a required pointer is null";
    }
    if (dose.unit < 0 || dose.unit >= static_cast<int>(doseUnits.size())) {
        return "doses have an unknown unit";
    }
    const zarnGIHost_Volume volume = withGrid(dose.volume, dose.places);
    if (!holdsDoses(&volume)) {
        return "a grid holds no doses in single precision";
    }
    return arePlaces(dose.places, volume) ? nullptr : "doses have places that cannot be";
}

void setGaps(DoseImage& dose, const unsigned char* isMeasured)
{
    Measurement& measurement = *dose.measurement;
    const std::span<float> values = dose.image.values.own();
    measurement.isMeasured.assign(isMeasured, isMeasured + values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        measurement.isMeasured[i] = isMeasured[i] != 0 ? 1 : 0;
        values[i] = isMeasured[i] != 0 ? values[i] : 0;
        measurement.gaps += isMeasured[i] != 0 ? 0 : 1;
    }
}

void setPlaces(DoseImage& dose, const zarnGIHost_Places& places)
{
    if (places.kind == ZARNGI_HOST_VOLUME && places.isMeasured == nullptr) {
        return;
    }
    Measurement& measurement = dose.measurement.emplace();
    measurement.kind = places.kind == ZARNGI_HOST_POINTS  ? Measurement::Kind::points
                       : places.kind == ZARNGI_HOST_PLANE ? Measurement::Kind::plane
                                                          : Measurement::Kind::grid;
    measurement.isInSpace = places.isInSpace != 0 || places.kind == ZARNGI_HOST_VOLUME;
    if (places.kind == ZARNGI_HOST_PLANE && measurement.isInSpace) {
        measurement.normal = static_cast<std::size_t>(places.normal);
    }
    for (std::size_t i = 0; places.points != nullptr && i < dose.image.values.size(); ++i) {
        const double* const point = places.points + 3 * i;
        measurement.points.push_back({point[0], point[1], measurement.isInSpace ? point[2] : 0});
    }
    if (places.isMeasured != nullptr) {
        setGaps(dose, places.isMeasured);
    }
}

/** In pieces whose exponents are looked at together: grids are large. */
bool areFinite(std::span<const float> values)
{
    constexpr std::uint32_t exponent = 0x7f800000;
    constexpr std::size_t piece = 4096;
    for (std::size_t start = 0; start < values.size(); start += piece) {
        std::uint32_t largest = 0;
        for (const float value : values.subspan(start, std::min(piece, values.size() - start))) {
            largest = std::max(largest, std::bit_cast<std::uint32_t>(value) & exponent);
        }
        if (largest == exponent) {
            return false;
        }
    }
    return true;
}

DoseImage imageOf(const zarnGIHost_NamedDose& named, bool isLent)
{
    const zarngi::DoseView doses = dosesOf(withGrid(named.volume, named.places));
    DoseImage dose;
    dose.image.geometry = doses.geometry;
    dose.image.values = isLent ? files::Values::lent(doses.values)
                               : files::Values({doses.values.begin(), doses.values.end()});
    dose.path = named.name;
    dose.dataPath = named.name;
    dose.format = arrayFormat;
    dose.unit = doseUnits[static_cast<std::size_t>(named.unit)];
    if (named.frameOfReference != nullptr) {
        dose.dicom.emplace().frameOfReference = named.frameOfReference;
    }
    setPlaces(dose, named.places);
    if (!areFinite({dose.image.values.data(), dose.image.values.size()})) {
        throw zarngi::failureOf(named.name, FileError{FileError::Kind::damaged,
                                                      "holds doses that are not finite numbers"});
    }
    return dose;
}

files::UnpackPixels unpackerOf(const zarnGIHost_Source& source)
{
    if (source.unpackPixels == nullptr) {
        return {};
    }
    return [&source](files::ByteView file, std::size_t bytes) -> files::Result<files::Bytes> {
        files::Bytes pixels(bytes);
        if (source.unpackPixels(file.data(), file.size(), pixels.data(), bytes, source.context) !=
            ZARNGI_HOST_OK) {
            return FileError{FileError::Kind::damaged, "its pixel data cannot be unpacked"};
        }
        return pixels;
    };
}

template <class Named>
const Named* namedOf(const Named* list, std::size_t count, const std::string& name)
{
    const Named* const place =
        std::find_if(list, list + count, [&](const Named& one) { return one.name == name; });
    return place != list + count ? place : nullptr;
}

} // namespace

const char* problemOf(const zarnGIHost_Source& source)
{
    if ((source.doses == nullptr && source.doseCount > 0) ||
        (source.structures == nullptr && source.structureCount > 0)) {
        return "a required pointer is null";
    }
    for (std::size_t i = 0; i < source.doseCount; ++i) {
        if (const char* const problem = problemOf(source.doses[i])) {
            return problem;
        }
    }
    for (std::size_t i = 0; i < source.structureCount; ++i) {
        if (source.structures[i].name == nullptr || source.structures[i].structures == nullptr) {
            return "a required pointer is null";
        }
    }
    constexpr int mostThreads = 1024;
    return source.threads >= 0 && source.threads <= mostThreads ? nullptr
                                                                : "there are no such threads";
}

std::size_t dosesUnder(const zarnGIHost_Source& source, const std::string& name)
{
    const auto* const named = namedOf(source.doses, source.doseCount, name);
    return named != nullptr ? geometryOf(named->volume).voxels() : 0;
}

CallersSource::CallersSource(const zarnGIHost_Source& source, bool areLent)
    : source_(source), areLent_(areLent), disk_(unpackerOf(source), true, !areExcerptsShown()),
      isDiscreet_(!areExcerptsShown())
{
}

template <class Read> auto CallersSource::found(const std::string& name, const Read& read)
{
    std::size_t size = 0;
    const void* const contents = source_.find(name.c_str(), source_.context, &size);
    if (contents == nullptr) {
        throw zarngi::failureOf(name, FileError{FileError::Kind::system, "is not there", ENOENT});
    }
    const files::ByteView file(static_cast<const unsigned char*>(contents), size);
    std::string dataPath = name;
    const files::FindFile find = [&](const std::string& data) {
        files::Result<files::Bytes> bytes = finder(source_.find, source_.context)(data);
        if (bytes) {
            dataPath = data;
            digests_[data] = zarngi::digestOf(bytes->view());
        }
        return bytes;
    };
    auto result = read(file, find);
    if (!result) {
        throw zarngi::failureOf(name, result.error());
    }
    digests_[name] = zarngi::digestOf(file);
    result->path = name;
    result->dataPath = dataPath;
    return std::move(*result);
}

DoseImage CallersSource::dose(const std::string& name, const files::TableUnits& units)
{
    if (const auto* const named = namedOf(source_.doses, source_.doseCount, name)) {
        return imageOf(*named, areLent_);
    }
    if (source_.find == nullptr) {
        keepDiskUncertainty();
        return disk_.dose(name, units);
    }
    const files::Host host{files::nativeDeflate(), unpackerOf(source_), {}, units,
                           keepsUncertainty(),     !isDiscreet_};
    return found(name, [&](files::ByteView file, const files::FindFile& find) {
        return files::readDose(file, name, find, host);
    });
}

void CallersSource::keepDiskUncertainty()
{
    if (keepsUncertainty()) {
        disk_.keepUncertainty();
    }
}

files::StructureSet CallersSource::structures(const std::string& name)
{
    if (const auto* const named = namedOf(source_.structures, source_.structureCount, name)) {
        files::StructureSet set = named->structures->set;
        set.path = set.dataPath = name;
        return set;
    }
    if (source_.find == nullptr) {
        return disk_.structures(name);
    }
    const files::Host host{.deflate = files::nativeDeflate(), .quotesFiles = !isDiscreet_};
    return found(name, [&](files::ByteView file, const files::FindFile& find) {
        return files::readStructures(file, name, find, host);
    });
}

files::Plan CallersSource::plan(const std::string& name)
{
    if (source_.find == nullptr) {
        return disk_.plan(name);
    }
    const files::Host host{.deflate = files::nativeDeflate(), .quotesFiles = !isDiscreet_};
    return found(name, [&](files::ByteView file, const files::FindFile& /*find*/) {
        return files::readPlan(file, host);
    });
}

std::optional<files::Plan> CallersSource::planBeside(const std::string& dose,
                                                     const std::string& sopInstance)
{
    return source_.find == nullptr ? disk_.planBeside(dose, sopInstance) : std::nullopt;
}

/** Both files at once, unless a function of the caller's is needed, which one thread calls. */
std::pair<DoseImage, DoseImage> CallersSource::doses(const std::string& reference,
                                                     const std::string& evaluation,
                                                     const files::TableUnits& units)
{
    const auto isFile = [this](const std::string& name) {
        return namedOf(source_.doses, source_.doseCount, name) == nullptr;
    };
    const bool areFiles = source_.find == nullptr && source_.unpackPixels == nullptr &&
                          isFile(reference) && isFile(evaluation);
    keepDiskUncertainty();
    return areFiles ? disk_.doses(reference, evaluation, units)
                    : DoseSource::doses(reference, evaluation, units);
}

zarngi::FileDigests CallersSource::digests() const
{
    zarngi::FileDigests all = disk_.digests();
    all.insert(digests_.begin(), digests_.end());
    return all;
}

} // namespace host
