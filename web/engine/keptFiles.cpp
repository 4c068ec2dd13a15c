#include "web/engine/keptFiles.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <utility>

#include "comparison/doseExtremes.h"
#include "comparison/doseJson.h"
#include "comparison/failure.h"
#include "comparison/measurements/measurementJson.h"
#include "files/fileFormat.h"
#include "files/pairNames.h"
#include "files/readDose.h"
#include "files/structures/readStructures.h"
#include "web/engine/hostScript.h"

namespace engine
{

namespace
{

using Json = nlohmann::ordered_json;

const files::Host& scriptHost()
{
    static const files::Host host{scriptDeflate()};
    return host;
}

/** The file that a header names, or the data of a pair for an empty name. @throws files::Refusal */
files::Bytes dataBeside(const std::string& header, const std::string& name, std::string& path)
{
    path = name.empty() ? files::dataOfPair(header, exists) : files::pathBeside(header, name);
    files::Result<files::Bytes> data = contentsOf(path);
    if (!data) {
        const bool isMissing = data.error().systemError == ENOENT;
        files::refuse(files::sentenceAboutData(path, isMissing ? "" : data.error().sentence));
    }
    return std::move(*data);
}

/** The header of a NIfTI pair whose data file was asked for; else the path. */
std::string headerOf(const std::string& path)
{
    const std::optional<std::string> header = files::headerBeside(path, exists);
    if (!header) {
        return path;
    }
    // A packed header is told by its name alone, as native hosts do.
    const files::Bytes contents = files::valueOf(contentsOf(*header));
    const bool isPair = header->ends_with(".gz") ||
                        files::identifiedFormat(contents.view()) == files::FileFormat::nifti;
    return isPair ? *header : path;
}

/** Reads one file and those that it names. @param read from bytes and a finder to a result */
template <class Read> auto readFile(const std::string& given, const Read& read)
{
    const std::string path = headerOf(given);
    const files::Bytes contents = files::valueOf(contentsOf(path));
    std::string dataPath = path;
    const files::FindFile find = [&](const std::string& name) {
        return files::resultOf([&] { return dataBeside(path, name, dataPath); });
    };
    auto value = files::valueOf(read(contents.view(), find));
    value.path = path;
    value.dataPath = dataPath;
    return value;
}

files::DoseImage readDose(const std::string& path)
{
    return readFile(path, [](files::ByteView bytes, const files::FindFile& find) {
        return files::readDose(bytes, find, scriptHost());
    });
}

files::StructureSet readStructures(const std::string& path)
{
    return readFile(path, [&path](files::ByteView bytes, const files::FindFile& find) {
        return files::readStructures(bytes, path, find, scriptHost());
    });
}

bool isStructureSet(const std::string& path)
{
    const files::Result<files::Bytes> contents = contentsOf(path);
    return contents && files::isStructureSet(contents->view(), scriptDeflate());
}

bool isForeign(const files::FileError& error)
{
    return error.sentence.starts_with("is not a dose file") ||
           error.sentence.starts_with("is DICOM but no RT Dose");
}

bool holdsWholeNumbers(const files::DoseImage& dose)
{
    return !dose.dicom &&
           std::all_of(dose.image.values.begin(), dose.image.values.end(),
                       [](float value) { return value >= 0 && value == std::floor(value); });
}

Json facts(const files::DoseImage& dose)
{
    Json json = {{"dataPath", dose.dataPath},
                 {"format", dose.format},
                 {"grid", zarngi::gridJson(dose.image.geometry, zarngi::doseExtremes(dose.image))},
                 {"doseUnit", dose.isRelative ? "relative" : "Gy"},
                 {"measurement", zarngi::measurementJson(dose)},
                 {"warnings", dose.warnings}};
    if (dose.dicom) {
        json["dicom"] = {{"summationType", dose.dicom->summationType},
                         {"doseType", dose.dicom->doseType},
                         {"planLabel", dose.dicom->planLabel},
                         {"frameOfReference", dose.dicom->frameOfReference}};
    }
    return json;
}

Json facts(const files::StructureSet& set)
{
    Json names = Json::array();
    for (const files::Structure& structure : set.structures) {
        names.push_back(structure.name);
    }
    return {{"dataPath", set.dataPath},
            {"format", set.format},
            {"label", set.label},
            {"names", std::move(names)},
            {"warnings", set.warnings}};
}

template <class Value, class Read>
const Value& kept(std::map<std::string, Value>& values, const std::string& path, const Read& read)
{
    const auto found = values.find(path);
    if (found != values.end()) {
        return found->second;
    }
    try {
        return values.emplace(path, read(path)).first->second;
    } catch (const files::Refusal& refusal) {
        throw zarngi::InputError(path + ": " + refusal.error().sentence);
    }
}

} // namespace

nlohmann::ordered_json KeptFiles::identify(const std::string& path)
{
    forget(path);
    try {
        if (isStructureSet(path)) {
            Json json = {{"path", path}, {"kind", "structures"}};
            json.update(facts(sets_.emplace(path, readStructures(path)).first->second));
            return json;
        }
        const files::DoseImage& dose = doses_.emplace(path, readDose(path)).first->second;
        Json json = {{"path", path}, {"kind", "dose"}};
        json.update(facts(dose));
        if (holdsWholeNumbers(dose)) {
            const auto mask = files::resultOf([&path] { return readStructures(path); });
            if (mask) {
                json["kind"] = "mask";
                json["mask"] = facts(*mask);
            }
        }
        return json;
    } catch (const files::Refusal& refusal) {
        return {{"path", path},
                {"kind", isForeign(refusal.error()) ? "foreign" : "refused"},
                {"sentence", refusal.error().sentence}};
    } catch (const std::bad_alloc&) {
        forget(path);
        return {{"path", path}, {"kind", "refused"}, {"sentence", "does not fit in memory"}};
    }
}

const files::DoseImage& KeptFiles::dose(const std::string& path)
{
    return kept(doses_, path, &readDose);
}

const files::StructureSet& KeptFiles::structures(const std::string& path)
{
    return kept(sets_, path, &readStructures);
}

void KeptFiles::forget(const std::string& path)
{
    doses_.erase(path);
    sets_.erase(path);
}

} // namespace engine
