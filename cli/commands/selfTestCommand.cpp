#include "cli/commands/selfTestCommand.h"

#include <iostream>
#include <map>
#include <optional>
#include <utility>

#include "cli/output/outputFile.h"
#include "cli/output/progress.h"
#include "comparison/documents/doseJson.h"
#include "comparison/documents/json.h"
#include "comparison/documents/selfTestJson.h"
#include "comparison/documents/selfTestPage.h"
#include "comparison/parallel.h"
#include "comparison/text.h"
#include "files/nativeDeflate.h"
#include "platform/console.h"
#include "platform/machine.h"

namespace zarngi
{

namespace
{

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

SelfTest testedWithProgress()
{
    std::optional<ProgressLine> line;
    if (ProgressLine::isWanted()) {
        line.emplace("self-test");
    }
    return selfTest({files::nativeDeflate(), processorCount()}, [&](double share) {
        if (line) {
            line->show(share);
        }
        return true;
    });
}

} // namespace

ExitCode selfTestCommand(const OutputNames& names)
{
    names.checkFiles({}, {});
    std::optional<OutputFile> record;
    std::optional<OutputFile> page;
    for (const auto& [name, file] : {std::pair(&names.json, &record), {&names.report, &page}}) {
        if (!name->empty() && file->emplace(*name).isStandardOutput()) {
            std::cout.flush();
            platform::printToStandardError();
        }
    }
    const SelfTest test = testedWithProgress();
    std::cout << describe(test) << std::flush;
    const auto json = selfTestJson(test, thisInstallation({platform::programFile()}));
    if (record) {
        record->write(toText(json, 2) + "\n");
    }
    if (page) {
        page->write(selfTestPage(json));
    }
    return test.isPassed() ? ExitCode::fine : ExitCode::selfTestFailed;
}

} // namespace zarngi
