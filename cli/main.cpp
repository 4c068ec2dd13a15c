#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>
#include <new>

#include "compareCommand.h"
#include "demoCommand.h"
#include "failure.h"
#include "gammaRun.h"
#include "helpFormatter.h"
#include "outputFile.h"
#include "text.h"

namespace
{

using cli::ExitCode;

int tell(const std::string& message, ExitCode code)
{
    std::cerr << "zarngi: " << cli::oneLine(message) << '\n';
    return static_cast<int>(code);
}

struct CommandLine {
    CLI::App app{"Gamma-index comparison of three-dimensional dose distributions", "zarngi"};
    CLI::App* compareCommand =
        app.add_subcommand("compare", "Compare two dose files with the gamma test");
    CLI::App* demoCommand =
        app.add_subcommand("demo", "Write a synthetic pair of dose files and compare it");
    cli::CompareOptions compare;
    std::string demoFolder = "zarngi-demo";

    CommandLine()
    {
        app.set_version_flag("--version", "zarngi " + cli::libraryVersion());
        app.require_subcommand(1);
        for (CLI::App* const command : {&app, compareCommand, demoCommand}) {
            command->formatter(std::make_shared<cli::HelpFormatter>());
        }
        cli::addCompareOptions(*compareCommand, compare);
        demoCommand->add_option("DIR", demoFolder, "Folder for the files (zarngi-demo)")
            ->type_name("");
    }

    ExitCode run() const
    {
        return compareCommand->parsed() ? cli::compare(compare) : cli::demo(demoFolder);
    }
};

int runCommand(const CommandLine& commandLine)
{
    try {
        return static_cast<int>(commandLine.run());
    } catch (const cli::UsageError& error) {
        return tell(error.what(), ExitCode::wrongUsage);
    } catch (const cli::InputError& error) {
        return tell(error.what(), ExitCode::badInput);
    } catch (const std::bad_alloc&) {
        return tell("not enough memory", ExitCode::badInput);
    } catch (const std::exception& error) {
        return tell(error.what(), ExitCode::badInput);
    }
}

} // namespace

int main(int argc, char** argv)
{
    cli::removeTemporaryFilesOnSignals();
    CommandLine commandLine;
    try {
        commandLine.app.parse(argc, argv);
    } catch (const CLI::Success& request) {
        return commandLine.app.exit(request);
    } catch (const CLI::ParseError& error) {
        return tell(std::string(error.what()) + " (zarngi --help tells more)",
                    ExitCode::wrongUsage);
    }
    return runCommand(commandLine);
}
