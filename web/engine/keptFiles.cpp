#include "web/engine/keptFiles.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <new>
#include <optional>
#include <utility>

#include "comparison/documents/doseJson.h"
#include "comparison/documents/json.h"
#include "comparison/documents/measurementJson.h"
#include "comparison/doseExtremes.h"
#include "comparison/failure.h"
#include "files/fileFormat.h"
#include "files/pairNames.h"
#include "files/plans/readPlan.h"
#include "files/readDose.h"
#include "files/structures/readStructures.h"
#include "web/engine/failureJson.h"
#include "web/engine/hostScript.h"

namespace engine
{

namespace
{

using zarngi::Json;

files::Host scriptHost(bool isDiscreet, const files::TableUnits& units = {})
{
    return {scriptDeflate(), {}, {}, units, true, !isDiscreet};
}

/** The file that a header names, or the data of a pair for an empty name. @throws files::Refusal */
files::Bytes dataBeside(const std::string& header, const std::string& name, std::string& path)
{
    path = name.empty() ? files::dataOfPair(header, exists) : files::pathBeside(header, name);
    files::Result<files::Bytes> data = contentsOf(path);
    if (!data) {
        const bool isMissing = data.error().systemError == ENOENT;
        files::refuseDamaged(
            files::sentenceAboutData(path, isMissing ? "" : data.error().sentence));
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

/** The contents of a file, and of those that it names. */
class OpenFile
{
public:
    /** @param isDiscreet whether nothing that is told of it quotes what stands in it */
    explicit OpenFile(const std::string& given, bool isDiscreet = false)
        : path_(headerOf(given)), dataPath_(path_), contents_(files::valueOf(contentsOf(path_))),
          isDiscreet_(isDiscreet)
    {
    }

    bool isDicom() { return files::identifiedFormat(contents()) == files::FileFormat::dicom; }

    bool isStructureSet() { return files::isStructureSet(contents(), scriptDeflate()); }

    files::Result<files::DoseImage> dose(const files::TableUnits& units = {})
    {
        constexpr std::size_t large = std::size_t{1} << 24; // where memory is dearer than time
        const files::ByteView lent = contents();
        return withPaths(files::readDose(lent.size() < large ? lent : files::Contents(contents_),
                                         path_, finder(), scriptHost(isDiscreet_, units)));
    }

    bool isPlan() { return files::isPlan(contents(), scriptDeflate()); }

    files::Result<files::Plan> plan()
    {
        return withPaths(files::readPlan(contents(), scriptHost(isDiscreet_)));
    }

    files::Result<files::DicomStudy> study()
    {
        return files::readStudy(contents(), scriptHost(isDiscreet_));
    }

    files::Result<files::StructureSet> structures()
    {
        return withPaths(
            files::readStructures(contents(), path_, finder(), scriptHost(isDiscreet_)));
    }

private:
    /** Fetched once more where a large dose has kept them, as for a mask. @throws files::Refusal */
    files::ByteView contents()
    {
        if (contents_.size() == 0) {
            contents_ = files::valueOf(contentsOf(path_));
        }
        return contents_.view();
    }

    files::FindFile finder()
    {
        return [this](const std::string& name) {
            return files::resultOf([&] { return dataBeside(path_, name, dataPath_); });
        };
    }

    template <class Value> files::Result<Value> withPaths(files::Result<Value> result) const
    {
        if (result) {
            result->path = path_;
            result->dataPath = dataPath_;
        }
        return result;
    }

    std::string path_;
    std::string dataPath_; ///< of the values, where the header stands alone
    files::Bytes contents_;
    bool isDiscreet_;
};

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
                 {"grid", zarngi::gridJson(dose, zarngi::extremesOf(dose))},
                 {"doseUnit", files::unitName(dose.unit)},
                 {"measurement", zarngi::measurementJson(dose)},
                 {"warnings", dose.warnings}};
    if (dose.dicom) {
        json["dicom"] = {{"summationType", dose.dicom->summationType},
                         {"doseType", dose.dicom->doseType},
                         {"planLabel", dose.dicom->planLabel},
                         {"frameOfReference", dose.dicom->frameOfReference},
                         {"sopInstance", dose.dicom->sopInstance},
                         {"origins", dose.dicom->origins},
                         {"plans", Json::array()}};
        for (const files::ReferencedPlan& plan : dose.dicom->plans) {
            json["dicom"]["plans"].push_back(plan.sopInstance);
        }
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

Json facts(const files::Plan& plan)
{
    return {{"dataPath", plan.dataPath}, {"format", plan.format},
            {"label", plan.label},       {"sopInstance", plan.sopInstance},
            {"origins", plan.origins},   {"warnings", plan.warnings}};
}

/** Segmentations in several layers are masks and nothing else. */
std::optional<files::StructureSet> masksAlone(OpenFile& file, const files::FileError& noDose)
{
    if (!noDose.isOfContents()) {
        return {};
    }
    files::Result<files::StructureSet> set = file.structures();
    return set ? std::optional(std::move(*set)) : std::nullopt;
}

/** What `read` makes of the file. @throws zarngi::InputError */
template <class Read> auto readFrom(const std::string& path, bool isDiscreet, const Read& read)
{
    try {
        OpenFile file(path, isDiscreet);
        return files::valueOf(read(file));
    } catch (const files::Refusal& refusal) {
        throw zarngi::failureOf(path, refusal.error());
    }
}

/** The value that is kept, or what `read` makes of the file. @throws zarngi::InputError */
template <class Value, class Read>
const Value& kept(KeptValues<Value>& values, const std::string& path, bool isDiscreet,
                  const Read& read)
{
    const Value* const value = values.find(path);
    return value != nullptr ? *value : values.add(path, readFrom(path, isDiscreet, read));
}

Json described(const std::string& path, const char* kind, Json facts)
{
    Json json = {{"path", path}, {"kind", kind}};
    json.update(facts);
    return json;
}

Json refusalJson(const std::string& path, const files::FileError& error, bool isDicom = false)
{
    const bool isForeign = error.kind == files::FileError::Kind::foreign;
    return described(path, isForeign ? "foreign" : "refused",
                     {{"failure", kindName(zarngi::kindOf(error))},
                      {"sentence", error.sentence},
                      {"isDicom", isDicom}});
}

} // namespace

Json KeptFiles::identify(const std::string& path, const files::TableUnits& units)
{
    forget(path);
    try {
        return identified(path, units);
    } catch (const files::Refusal& refusal) {
        return refusalJson(path, refusal.error());
    } catch (const std::bad_alloc&) {
        forget(path);
        return refusalJson(path, {files::FileError::Kind::outOfMemory, "does not fit in memory"});
    }
}

Json KeptFiles::identified(const std::string& path, const files::TableUnits& units)
{
    OpenFile file(path);
    if (file.isStructureSet()) {
        const auto& set = quoting_.sets.add(path, files::valueOf(file.structures()));
        return described(path, "structures", facts(set));
    }
    if (file.isPlan()) {
        return described(path, "plan", facts(files::valueOf(file.plan())));
    }
    files::Result<files::DoseImage> read = file.dose(units);
    if (!read) {
        std::optional<files::StructureSet> set = masksAlone(file, read.error());
        return set ? described(path, "structures", facts(quoting_.sets.add(path, std::move(*set))))
                   : refusalJson(path, read.error(), file.isDicom());
    }
    // What is kept hangs on nothing but its file.
    const files::DoseImage& dose =
        units.areGiven() ? *read : quoting_.doses.add(path, std::move(*read));
    Json json = described(path, "dose", facts(dose));
    if (holdsWholeNumbers(dose)) {
        if (auto mask = file.structures()) {
            json["kind"] = "mask";
            json["mask"] = facts(quoting_.sets.add(path, std::move(*mask)));
        }
    }
    return json;
}

files::DoseImage KeptFiles::dose(const std::string& path, const files::TableUnits& units,
                                 bool isDiscreet)
{
    if (units.areGiven()) { // tables are small
        return readFrom(path, isDiscreet, [&](OpenFile& file) { return file.dose(units); });
    }
    return kept(of(isDiscreet).doses, path, isDiscreet, [](OpenFile& file) { return file.dose(); });
}

const files::StructureSet& KeptFiles::structures(const std::string& path, bool isDiscreet)
{
    return kept(of(isDiscreet).sets, path, isDiscreet,
                [](OpenFile& file) { return file.structures(); });
}

files::Plan KeptFiles::plan(const std::string& path, bool isDiscreet)
{
    return readFrom(path, isDiscreet, [](OpenFile& file) { return file.plan(); });
}

files::DicomStudy KeptFiles::study(const std::string& path)
{
    return readFrom(path, false, [](OpenFile& file) { return file.study(); });
}

void KeptFiles::use(const std::set<std::string>& paths, bool isDiscreet)
{
    of(isDiscreet).use(paths);
    of(!isDiscreet).use({});
}

void KeptFiles::forget(const std::string& path)
{
    quoting_.forget(path);
    discreet_.forget(path);
}

void KeptFiles::Kept::use(const std::set<std::string>& paths)
{
    doses.use(paths);
    sets.use(paths);
}

void KeptFiles::Kept::forget(const std::string& path)
{
    doses.forget(path);
    sets.forget(path);
}

} // namespace engine
