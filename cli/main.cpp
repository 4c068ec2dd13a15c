#include <CLI/CLI.hpp>

#include <cstdio>
#include <iostream>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "cli/commands/commandOptions.h"
#include "cli/commands/compareCommand.h"
#include "cli/commands/convertCommand.h"
#include "cli/commands/demoCommand.h"
#include "cli/commands/dvhCommand.h"
#include "cli/commands/helpFormatter.h"
#include "cli/commands/infoCommand.h"
#include "cli/commands/optionNames.h"
#include "cli/commands/protocolsCommand.h"
#include "cli/commands/selfTestCommand.h"
#include "cli/exitCode.h"
#include "cli/output/pendingFile.h"
#include "comparison/failure.h"
#include "comparison/gammaRun.h"
#include "comparison/text.h"
#include "platform/console.h"

namespace
{

using zarngi::ExitCode;

int tell(const std::string& message, ExitCode code)
{
    std::cerr << "zarngi: " << zarngi::oneLine(message) << '\n';
    return static_cast<int>(code);
}

int tell(const zarngi::Refusal& refusal, ExitCode code)
{
    return tell(refusal.sentence().text(zarngi::programWording()), code);
}

struct CommandLine {
    CLI::App app{"Gamma-index comparison of three-dimensional dose distributions", "zarngi"};
    CLI::App* compareCommand =
        app.add_subcommand("compare", "Compare two dose files with the gamma test");
    CLI::App* dvhCommand =
        app.add_subcommand("dvh", "Tell doses in structures, and whether goals are met");
    CLI::App* protocolsCommand =
        app.add_subcommand("protocols", "List the shipped protocols, or print one");
    CLI::App* infoCommand = app.add_subcommand("info", "Tell what a file holds");
    CLI::App* convertCommand =
        app.add_subcommand("convert", "Write a dose as a file of another format");
    CLI::App* demoCommand =
        app.add_subcommand("demo", "Write a synthetic pair of dose files and compare it");
    CLI::App* selfTestCommand =
        app.add_subcommand("selftest", "Test whether this installation computes what it should");
    zarngi::CompareOptions compare;
    zarngi::CompareOptions dvh; ///< of the reference alone
    zarngi::InfoOptions info;
    zarngi::ConvertOptions convert;
    std::string protocol;
    bool asJson = false; ///< the list of protocols
    std::string demoFolder = "zarngi-demo";
    zarngi::OutputNames selfTestRecords;

    CommandLine()
    {
        app.set_version_flag("--version", "zarngi " + zarngi::projectVersion());
        app.require_subcommand(1);
        for (CLI::App* const command :
             {&app, compareCommand, dvhCommand, protocolsCommand, infoCommand, convertCommand,
              demoCommand, selfTestCommand}) {
            command->formatter(std::make_shared<zarngi::HelpFormatter>());
            command->allow_windows_style_options(false); // "/a" is a path
        }
        zarngi::addCompareOptions(*compareCommand, compare);
        zarngi::addDvhOptions(*dvhCommand, dvh);
        protocolsCommand
            ->add_option("NAME", protocol, "Print this one, a document as --request takes")
            ->type_name("");
        protocolsCommand->add_flag("--json", asJson, "List as a JSON document, for programs");
        infoCommand->add_option("FILE", info.file, "Dose file, RT Structure Set or RT Plan")
            ->type_name("")
            ->required();
        infoCommand->add_flag("--structures", info.asStructures, "Tell the labels of a mask");
        infoCommand->add_flag("--patient", info.showPatient, "Tell patient data as well");
        infoCommand->add_flag("--json", info.asJson, "As a JSON document, for programs");
        zarngi::addTableUnits(*infoCommand, info.units);
        zarngi::addConvertOptions(*convertCommand, convert);
        demoCommand->add_option("DIR", demoFolder, "Folder for the files (zarngi-demo)")
            ->type_name("");
        selfTestCommand->add_option("--json", selfTestRecords.json, "The record, for programs")
            ->type_name("FILE");
        selfTestCommand
            ->add_option("--report", selfTestRecords.report,
                         "The record as a page to sign and keep")
            ->type_name("FILE");
    }

    ExitCode run() const
    {
        if (compareCommand->parsed()) {
            return zarngi::compare(compare);
        }
        if (dvhCommand->parsed()) {
            return zarngi::dvh(dvh);
        }
        if (protocolsCommand->parsed()) {
            return zarngi::protocols(protocol, asJson);
        }
        if (convertCommand->parsed()) {
            return zarngi::convert(convert);
        }
        if (selfTestCommand->parsed()) {
            return zarngi::selfTestCommand(selfTestRecords);
        }
        return infoCommand->parsed() ? zarngi::info(info) : zarngi::demo(demoFolder);
    }
};

/** The command line as it was given; words with blanks in quotes. */
std::string joined(const std::vector<std::string>& words)
{
    std::string text = "zarngi";
    for (const std::string& word : words) {
        const bool isPlain = !word.empty() && word.find_first_of(" \t\"'") == std::string::npos;
        text += isPlain ? " " + word : " '" + word + "'";
    }
    return text;
}

int runCommand(const CommandLine& commandLine)
{
    try {
        const ExitCode code = commandLine.run();
        if (!std::cout.flush()) {
            return tell("standard output cannot be written", ExitCode::badInput);
        }
        return static_cast<int>(code);
    } catch (const zarngi::UsageError& error) {
        return tell(error, ExitCode::wrongUsage);
    } catch (const zarngi::InputError& error) {
        return tell(error, ExitCode::badInput);
    } catch (const std::bad_alloc&) {
        return tell("not enough memory", ExitCode::badInput);
    } catch (const std::exception& error) {
        return tell(error.what(), ExitCode::badInput);
    }
}

/** What the parser found wrong; it takes a misspelt command for none at all. */
std::string reasonOf(const CLI::ParseError& error, const CLI::App& app, const std::string& word)
{
    const bool isCommand = !app.get_subcommands([&word](const CLI::App* command) {
                                   return command->get_name() == word;
                               })
                                .empty();
    if (!word.empty() && word.front() != '-' && !isCommand) {
        return "\"" + word + "\" is not a command";
    }
    return error.what();
}

int runProgram(const std::vector<std::string>& words)
{
    zarngi::removeTemporaryFilesOnSignals();
    CommandLine commandLine;
    try {
        commandLine.app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::Success& request) {
        return commandLine.app.exit(request);
    } catch (const CLI::ParseError& error) {
        const std::string word = words.empty() ? "" : words.front();
        return tell(reasonOf(error, commandLine.app, word) + " (zarngi --help tells more)",
                    ExitCode::wrongUsage);
    }
    commandLine.compare.commandLine = joined(words);
    commandLine.dvh.commandLine = commandLine.compare.commandLine;
    return runCommand(commandLine);
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const platform::PlainStreams streams;
        return runProgram(platform::arguments(argc, argv));
    } catch (...) {
        std::fputs("zarngi: not enough memory\n", stderr);
        return static_cast<int>(ExitCode::badInput);
    }
}
