#include "comparison/documents/doseJson.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <utility>

#include "comparison/documents/json.h"

namespace zarngi
{

namespace
{

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

/** @param digest null of what is no file: doses that a host handed over */
Json digestJson(const FileDigest* digest)
{
    if (digest == nullptr) {
        return {{"bytes", nullptr}, {"sha256", nullptr}};
    }
    return {{"bytes", digest->bytes}, {"sha256", digest->sha256}};
}

} // namespace

Json fileJson(const std::string& path, const std::string& dataPath, const std::string& format,
              const Disclosure& disclosure)
{
    Json file = {
        {"name", disclosure.nameOf(path)}, {"path", disclosure.pathOf(path)}, {"format", format}};
    file.update(digestJson(disclosure.digestOf(path)));
    if (dataPath != path) {
        file["data"] = {{"name", disclosure.nameOf(dataPath)},
                        {"path", disclosure.pathOf(dataPath)}};
        file["data"].update(digestJson(disclosure.digestOf(dataPath)));
    }
    return file;
}

Json fileJson(const DoseImage& dose, const Disclosure& disclosure)
{
    Json file = fileJson(dose.path, dose.dataPath, dose.format, disclosure);
    if (dose.dicom && disclosure.isIdentified()) {
        file["description"] = description(*dose.dicom);
        file["frameOfReference"] = dose.dicom->frameOfReference;
        file["sopInstance"] = dose.dicom->sopInstance;
    }
    return file;
}

Json gridJson(const DoseImage& dose, const DoseExtremes& extremes)
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

std::string nowInUtc()
{
    using namespace std::chrono;
    const auto now = floor<seconds>(system_clock::now());
    const auto day = floor<days>(now);
    const year_month_day date(day);
    const hh_mm_ss<seconds> time(now - day);
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                  static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return text.data();
}

std::string toText(const Json& document, int indent)
{
    return document.dump(indent);
}

} // namespace zarngi
