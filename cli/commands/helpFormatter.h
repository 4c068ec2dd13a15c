/**
 * @file helpFormatter.h
 * Help texts that fit a screen.
 */
#ifndef ZARNGI_CLI_COMMANDS_HELPFORMATTER_H
#define ZARNGI_CLI_COMMANDS_HELPFORMATTER_H

#include <CLI/CLI.hpp>

namespace zarngi
{

/** One line per option: its names and the unit or kind of its value, then what it does. */
class HelpFormatter : public CLI::Formatter
{
public:
    HelpFormatter() { column_width(25); }

    std::string make_option_opts(const CLI::Option* option) const override
    {
        // Ranges, which the framework appends after a colon, are told by the error messages.
        const std::string kind = option->get_type_name();
        return option->get_type_size() == 0 || kind.empty() ? std::string()
                                                            : " " + kind.substr(0, kind.find(':'));
    }

    std::string make_help(const CLI::App* app, std::string name,
                          CLI::AppFormatMode mode) const override
    {
        // The framework sets groups apart by two empty lines.
        std::string text = CLI::Formatter::make_help(app, std::move(name), mode);
        for (auto gap = text.find("\n\n\n"); gap != std::string::npos; gap = text.find("\n\n\n")) {
            text.erase(gap, 1);
        }
        return text;
    }
};

} // namespace zarngi

#endif
