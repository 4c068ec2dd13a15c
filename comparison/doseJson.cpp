#include "comparison/doseJson.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <utility>

namespace zarngi
{

namespace
{

using Json = nlohmann::ordered_json;

/** What the plan calls itself; nothing about the patient. */
std::string description(const DicomIdentity& identity)
{
    std::string text;
    for (const std::string& part :
         {identity.planLabel, identity.summationType, identity.doseType}) {
        text += text.empty() || part.empty() ? "" : ", ";
        text += part;
    }
    return text;
}

} // namespace

nlohmann::ordered_json fileJson(const std::string& path, const std::string& dataPath,
                                const std::string& format, const FileDigests& digests)
{
    const FileDigest& digest = digests.at(path);
    Json file = {{"name", std::filesystem::path(path).filename().string()},
                 {"path", path},
                 {"format", format},
                 {"bytes", digest.bytes},
                 {"sha256", digest.sha256}};
    if (dataPath != path) {
        const FileDigest& data = digests.at(dataPath);
        file["data"] = {{"name", std::filesystem::path(dataPath).filename().string()},
                        {"bytes", data.bytes},
                        {"sha256", data.sha256}};
    }
    return file;
}

nlohmann::ordered_json fileJson(const DoseImage& dose, const FileDigests& digests)
{
    Json file = fileJson(dose.path, dose.dataPath, dose.format, digests);
    if (dose.dicom) {
        file["description"] = description(*dose.dicom);
        file["frameOfReference"] = dose.dicom->frameOfReference;
        file["sopInstance"] = dose.dicom->sopInstance;
    }
    return file;
}

nlohmann::ordered_json gridJson(const DoseImage& dose, const DoseExtremes& extremes)
{
    const Geometry& geometry = dose.image.geometry;
    Json spacing = geometry.spacing;
    if (dose.hasNoThickness()) {
        spacing[dose.measurement->normal] = nullptr;
    }
    return {{"size", geometry.size},
            {"spacing", std::move(spacing)},
            {"origin", geometry.origin},
            {"minimum", extremes.minimum},
            {"maximum", {{"dose", extremes.maximum}, {"position", extremes.maximumPosition}}}};
}

std::string toText(const nlohmann::ordered_json& document, int indent)
{
    return document.dump(indent, ' ', false, Json::error_handler_t::replace);
}

} // namespace zarngi
