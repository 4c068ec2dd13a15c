#include "comparison/documents/selfTestJson.h"

#include "comparison/documents/doseJson.h"
#include "comparison/documents/json.h"
#include "comparison/gammaRun.h"

namespace zarngi
{

namespace
{

Json installationJson(const Installation& installation)
{
    Json files = Json::array();
    for (const Installation::File& file : installation.files) {
        files.push_back(
            {{"name", file.name}, {"bytes", file.digest.bytes}, {"sha256", file.digest.sha256}});
    }
    return {{"system", installation.system},
            {"processor", installation.processor},
            {"files", std::move(files)}};
}

} // namespace

Json selfTestJson(const SelfTest& test, const Installation& installation)
{
    Json document = {{"format", "zarngi-selftest"},
                     {"formatVersion", 1},
                     {"program", {{"name", "zarngi"}, {"version", projectVersion()}}},
                     {"created", nowInUtc()},
                     {"installation", installationJson(installation)},
                     {"passed", test.isPassed()},
                     {"seconds", test.seconds},
                     {"vectorPaths", Json::array()},
                     {"cases", Json::array()},
                     {"signature", {{"name", ""}, {"date", ""}}}};
    for (const TestedPath& path : test.paths) {
        document["vectorPaths"].push_back({{"name", path.name}, {"tested", path.isSupported}});
    }
    for (const SelfTestCase& one : test.cases) {
        document["cases"].push_back({{"part", one.part},
                                     {"name", one.name},
                                     {"wanted", one.wanted},
                                     {"found", one.found},
                                     {"passed", one.isPassed}});
    }
    return document;
}

} // namespace zarngi
