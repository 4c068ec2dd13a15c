/**
 * @file reportTemplate.h
 * The page that reports are made of, built into the program.
 */
#ifndef ZARNGI_CLI_OUTPUT_REPORTTEMPLATE_H
#define ZARNGI_CLI_OUTPUT_REPORTTEMPLATE_H

#include <string_view>

namespace zarngi
{

/** The page without data; empty in a build without the report's front end. */
std::string_view reportTemplate();

} // namespace zarngi

#endif
