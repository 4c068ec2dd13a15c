#include "comparison/sources/diskSource.h"

#include <filesystem>
#include <future>
#include <utility>

#include "comparison/failure.h"
#include "files/nativeDeflate.h"
#include "files/plans/readPlan.h"
#include "files/readDose.h"
#include "files/structures/readStructures.h"
#include "files/text.h"
#include "platform/paths.h"

namespace zarngi
{

namespace
{

template <class Value> Value valueOf(files::Result<Value> result, const std::string& path)
{
    if (!result) {
        throw failureOf(path, result.error());
    }
    return std::move(*result);
}

} // namespace

DiskSource::DiskSource(files::UnpackPixels unpackPixels, bool isDigested, bool isDiscreet)
    : unpackPixels_(std::move(unpackPixels)), isDigested_(isDigested), isDiscreet_(isDiscreet)
{
}

files::Host DiskSource::host(FileDigests& digests, const files::TableUnits& units) const
{
    files::Host host{files::nativeDeflate(), unpackPixels_, {}, units,
                     keepsUncertainty(),     !isDiscreet_};
    if (isDigested_) {
        host.watch = [&digests](const std::string& path, files::ByteView contents) {
            digests[path] = digestOf(contents);
        };
    }
    return host;
}

DoseImage DiskSource::dose(const std::string& name, const files::TableUnits& units,
                           FileDigests& digests) const
{
    return valueOf(files::readDoseFile(name, host(digests, units)), name);
}

DoseImage DiskSource::dose(const std::string& name, const files::TableUnits& units)
{
    return dose(name, units, digests_);
}

/** A pipe comes second: nobody waits for it when the other file is bad. */
std::pair<DoseImage, DoseImage> DiskSource::doses(const std::string& reference,
                                                  const std::string& evaluation,
                                                  const files::TableUnits& units)
{
    std::error_code error;
    const bool isFile = std::filesystem::is_regular_file(platform::pathOf(evaluation), error);
    const std::launch when =
        isFile ? std::launch::async | std::launch::deferred : std::launch::deferred;
    FileDigests ofEvaluation;
    auto second = std::async(when, [&] { return dose(evaluation, units, ofEvaluation); });
    DoseImage first = dose(reference, units, digests_);
    std::pair<DoseImage, DoseImage> both{std::move(first), second.get()};
    digests_.merge(ofEvaluation);
    return both;
}

files::StructureSet DiskSource::structures(const std::string& name)
{
    return valueOf(files::readStructuresFile(name, host(digests_)), name);
}

files::Plan DiskSource::plan(const std::string& name)
{
    return valueOf(files::readPlanFile(name, host(digests_)), name);
}

} // namespace zarngi
