/**
 * @file compareOptions.h
 * What a command line asks for, as a request.
 */
#ifndef ZARNGI_CLI_COMMANDS_COMPAREOPTIONS_H
#define ZARNGI_CLI_COMMANDS_COMPAREOPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "cli/output/outputs.h"
#include "comparison/request/request.h"

namespace zarngi
{

/** What files that tell no units are in, as given; an empty text: not given. */
struct UnitOptions {
    std::string dose;
    std::string length;
    std::optional<double> pixelSize; ///< mm

    /** @throws UsageError */
    files::TableUnits parsed() const;
};

/** What is asked for as it was given, and where to write it; what is empty was not given. */
struct CompareOptions {
    std::string requestFile; ///< whose request holds where nothing else is given
    std::string protocol;    ///< of this name, or in this file, in place of `requestFile`
    std::string reference;
    std::string evaluation;
    std::vector<std::string> referenceAdded;
    std::vector<std::string> evaluationAdded;
    std::string referenceScale;
    std::string evaluationScale;
    std::string referenceUncertainty;
    std::string evaluationUncertainty;
    std::string uncertaintyUnit;
    std::vector<std::string> criteria;
    std::optional<double> doseDifference; ///< of the one criterion without `criteria`
    std::optional<double> distance;
    bool isLocal = false;
    std::optional<double> cutOff;
    std::string norm;
    std::string normAt;
    std::optional<double> maxGamma;
    std::optional<double> step;
    bool passRateOnly = false;
    bool nearest = false;
    bool slices = false;
    bool rotate = false;
    std::optional<int> threads;
    int verbose = 0;
    std::vector<std::string> structures;
    std::vector<std::string> shown;
    std::vector<std::string> excluded;
    std::string within;
    std::vector<std::string> metrics;
    std::optional<double> prescription;
    bool ignoreFrame = false;
    bool ifPresent = false;
    std::vector<std::string> tolerance;
    std::vector<std::string> action;
    std::vector<std::string> failBelow;
    std::vector<std::string> refuse;
    std::vector<std::string> goals;
    std::string plane;
    std::string at;
    UnitOptions units;
    bool allowErrorDoses = false;
    bool explain = false;
    std::optional<double> explainRange;
    std::string explainStructure;
    std::vector<std::string> sweeps;
    bool noise = false;
    std::optional<double> noiseSeed;
    std::vector<std::string> plans;
    bool identify = false;
    std::vector<std::string> header;
    std::string commandLine; ///< as it was typed
    OutputNames outputs;

    /** What is asked for. @throws UsageError, InputError */
    Request request() const;
    /** What is asked of the reference alone. @throws UsageError, InputError */
    Request requestOfOneDose() const;
};

/** Outputs that make no sense, whatever the files hold. @throws UsageError */
void checkOutputs(const CompareOptions& options, const Request& request);

} // namespace zarngi

#endif
