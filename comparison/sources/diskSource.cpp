#include "comparison/sources/diskSource.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <future>
#include <utility>
#include <vector>

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

/** By their names; links and pipes are none of them. */
std::vector<std::string> filesBeside(const std::string& path)
{
    namespace fs = std::filesystem;
    std::vector<std::string> files;
    std::error_code error;
    const fs::path folder = platform::pathOf(path).parent_path();
    for (fs::directory_iterator entry(folder.empty() ? "." : folder, error), end;
         !error && entry != end; entry.increment(error)) {
        std::error_code none;
        if (entry->symlink_status(none).type() == fs::file_type::regular) {
            files.push_back(platform::textOf(folder / entry->path().filename()));
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

bool beginsLikePlan(const std::string& path)
{
    constexpr std::size_t beginning = 1 << 16;
    std::vector<char> bytes(beginning);
    std::ifstream file(platform::pathOf(path), std::ios::binary);
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
    return files::isPlan({data, static_cast<std::size_t>(file.gcount())}, files::nativeDeflate());
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

files::DicomStudy DiskSource::study(const std::string& name)
{
    return valueOf(files::readStudyFile(name, host(digests_)), name);
}

/** Files that cannot be read are passed over: nobody has named them. */
std::optional<files::Plan> DiskSource::planBeside(const std::string& dose,
                                                  const std::string& sopInstance)
{
    for (const std::string& path : filesBeside(dose)) {
        if (!beginsLikePlan(path)) {
            continue;
        }
        FileDigests digests;
        files::Result<files::Plan> plan = files::readPlanFile(path, host(digests));
        if (plan && plan->sopInstance == sopInstance) {
            digests_.merge(digests);
            return std::move(*plan);
        }
    }
    return {};
}

} // namespace zarngi
