#include "cli/commands/requestFile.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "comparison/documents/doseJson.h"
#include "comparison/documents/json.h"
#include "comparison/documents/protocols.h"
#include "comparison/documents/requestJson.h"
#include "comparison/failure.h"
#include "platform/paths.h"

namespace zarngi
{

namespace
{

namespace fs = std::filesystem;

std::string contentsOf(const std::string& path)
{
    std::ifstream file(platform::pathOf(path), std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file || !text) {
        throw failureOf(path, "cannot be read as a request", FailureKind::system);
    }
    return text.str();
}

template <class Change> void changeFiles(Request& request, const Change& change)
{
    const auto changeOne = [&](std::string& file) { file = file.empty() ? file : change(file); };
    for (DoseRequest* const dose : {&request.reference, &request.evaluation}) {
        changeOne(dose->file);
        for (std::string& file : dose->added) {
            changeOne(file);
        }
        if (dose->uncertainty.isFile()) {
            changeOne(dose->uncertainty.text);
        }
    }
    for (std::vector<std::string>* const list : {&request.structures.files, &request.plans}) {
        for (std::string& file : *list) {
            changeOne(file);
        }
    }
}

} // namespace

Request readRequest(const std::string& path)
{
    try {
        Request request = requestOfText(contentsOf(path));
        std::error_code none; // a link lies elsewhere than its file
        const fs::path real = fs::canonical(platform::pathOf(path), none);
        const fs::path folder = (none ? platform::pathOf(path) : real).parent_path();
        changeFiles(request, [&](const std::string& file) {
            return platform::textOf((folder / platform::pathOf(file)).lexically_normal());
        });
        return request;
    } catch (const UsageError& error) {
        throw UsageError(error.member(), Sentence(FileName{path}) + ": " + error.what());
    }
}

Request relocated(Request request, const std::string& folder)
{
    changeFiles(request, [&](const std::string& file) {
        return platform::portableTextOf(fs::absolute(platform::pathOf(file))
                                            .lexically_normal()
                                            .lexically_proximate(platform::pathOf(folder)));
    });
    return request;
}

Request readProtocol(const std::string& nameOrFile)
{
    std::error_code none;
    const fs::path path = platform::pathOf(nameOrFile);
    if (isShippedProtocol(nameOrFile) || !fs::exists(path, none)) {
        return shippedProtocol(nameOrFile);
    }
    try {
        return protocolOfText(contentsOf(nameOrFile), platform::textOf(path.stem()));
    } catch (const UsageError& error) {
        throw UsageError(error.member(), Sentence(FileName{nameOrFile}) + ": " + error.what());
    }
}

std::string protocolText(Request request, const std::string& path)
{
    nameProtocol(request, platform::textOf(platform::pathOf(path).stem()));
    return toText(protocolJson(std::move(request)), 2) + "\n";
}

} // namespace zarngi
