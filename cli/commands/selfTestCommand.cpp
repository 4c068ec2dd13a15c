#include "cli/commands/selfTestCommand.h"

#include <iostream>
#include <map>
#include <optional>

#include "cli/output/outputFile.h"
#include "cli/output/progress.h"
#include "comparison/documents/doseJson.h"
#include "comparison/documents/json.h"
#include "comparison/documents/selfTestJson.h"
#include "comparison/text.h"
#include "files/sourceFile.h"
#include "libZarnGI.h"
#include "platform/console.h"
#include "platform/machine.h"
#include "platform/paths.h"

namespace zarngi
{

namespace
{

Installation thisInstallation()
{
    Installation installation{platform::systemName(), platform::processorName(), {}};
    const void* const inLibrary = reinterpret_cast<const void*>(&zarnGI_init);
    for (const std::string& path : {platform::programFile(), platform::fileOfCode(inLibrary)}) {
        const auto contents = files::resultOf([&] { return files::readDataFile(path); });
        if (contents) {
            installation.files.push_back({platform::nameOf(path), digestOf(contents->view())});
        }
    }
    return installation;
}

std::string describe(const SelfTest& test)
{
    std::map<std::string, std::pair<int, int>> parts; // cases and those that passed
    std::string failures;
    for (const SelfTestCase& one : test.cases) {
        auto& [count, passed] = parts[one.part];
        ++count;
        passed += one.isPassed ? 1 : 0;
        if (!one.isPassed) {
            failures += "FAILED  " + one.name + "\n  wanted  " + oneLine(one.wanted) +
                        "\n  found   " + oneLine(one.found) + "\n";
        }
    }
    std::string text;
    for (const auto& [part, counts] : parts) {
        text += part + std::string(12 - part.size(), ' ') + std::to_string(counts.second) + " of " +
                std::to_string(counts.first) + " cases passed\n";
    }
    for (const TestedPath& path : test.paths) {
        text += path.isSupported
                    ? ""
                    : "not tested  " + path.name + ", which this processor does not run\n";
    }
    return text + failures +
           (test.isPassed() ? "This installation computes what it should.\n"
                            : "This installation must not be used: its results are not right.\n");
}

} // namespace

ExitCode selfTestCommand(const std::string& record)
{
    std::optional<OutputFile> file;
    if (!record.empty()) {
        file.emplace(record);
        if (file->isStandardOutput()) {
            std::cout.flush();
            platform::printToStandardError();
        }
    }
    std::optional<ProgressLine> line;
    if (ProgressLine::isWanted()) {
        line.emplace("self-test");
    }
    const SelfTest test = selfTest([&](double share) {
        if (line) {
            line->show(share);
        }
    });
    line.reset();
    std::cout << describe(test) << std::flush;
    if (file) {
        file->write(toText(selfTestJson(test, thisInstallation()), 2) + "\n");
    }
    return test.isPassed() ? ExitCode::fine : ExitCode::selfTestFailed;
}

} // namespace zarngi
