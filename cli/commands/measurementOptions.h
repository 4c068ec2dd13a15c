/**
 * @file measurementOptions.h
 * What is asked for about planes, points, and doses that are put together.
 */
#ifndef ZARNGI_CLI_COMMANDS_MEASUREMENTOPTIONS_H
#define ZARNGI_CLI_COMMANDS_MEASUREMENTOPTIONS_H

#include <string>
#include <vector>

#include "comparison/measurements/doseSum.h"
#include "comparison/measurements/normalisation.h"
#include "files/readDose.h"

namespace CLI
{
class App;
}

namespace zarngi
{

/** As given; an empty text: not given. */
struct MeasurementOptions {
    std::string norm;   ///< Gy, or "evaluation"
    std::string normAt; ///< mm
    std::string plane;
    std::string at;
    std::string referenceScale;
    std::string evaluationScale;
    std::vector<std::string> referenceAdded;
    std::vector<std::string> evaluationAdded;
    std::string doseUnit;
    std::string lengthUnit;

    NormalisationRequest normalisation() const; ///< @throws UsageError
    PlaneRequest placement() const;             ///< @throws UsageError
    files::TableUnits units() const;
};

/** Adds --norm and --norm-at; the options must outlive the parsing. */
void addNormalisation(CLI::App& command, MeasurementOptions& options);

/** Adds the others. */
void addMeasurements(CLI::App& command, MeasurementOptions& options);

/** Adds --dose-unit and --length-unit. */
void addTableUnits(CLI::App& command, MeasurementOptions& options);

/** What the parser cannot see. @throws UsageError */
void checkMeasurementOptions(const MeasurementOptions& options);

} // namespace zarngi

#endif
