/**
 * @file measurementOptions.h
 * The options about planes, points, and doses that are put together.
 */
#ifndef ZARNGI_CLI_COMMANDS_MEASUREMENTOPTIONS_H
#define ZARNGI_CLI_COMMANDS_MEASUREMENTOPTIONS_H

#include "comparison/request/measurementRequest.h"

namespace CLI
{
class App;
}

namespace zarngi
{

/** Adds --norm and --norm-at; the options must outlive the parsing. */
void addNormalisation(CLI::App& command, MeasurementOptions& options);

/** Adds the others. */
void addMeasurements(CLI::App& command, MeasurementOptions& options);

/** Adds --dose-unit and --length-unit. */
void addTableUnits(CLI::App& command, MeasurementOptions& options);

} // namespace zarngi

#endif
