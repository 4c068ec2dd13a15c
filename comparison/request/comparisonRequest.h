/**
 * @file comparisonRequest.h
 * What a person asks of a comparison, as it was given: by a command line, by a page.
 */
#ifndef ZARNGI_COMPARISON_REQUEST_COMPARISONREQUEST_H
#define ZARNGI_COMPARISON_REQUEST_COMPARISONREQUEST_H

#include <optional>
#include <string>
#include <vector>

#include "comparison/comparison.h"
#include "comparison/criterion.h"
#include "comparison/gammaRun.h"
#include "comparison/request/measurementRequest.h"
#include "comparison/verdict.h"

namespace zarngi
{

/** A criterion, and the patterns of the structures that it is for; none: for everything. */
struct CriterionRequest {
    Criterion criterion;
    std::vector<std::string> patterns{};
};

/** What is asked for about structures, as given. */
struct StructureOptions {
    std::vector<std::string> files;
    std::vector<std::string> shown;
    std::vector<std::string> excluded;
    std::string within;
    std::vector<std::string> metrics;   ///< lists
    std::optional<double> prescription; ///< Gy
    bool ignoreFrame = false;
};

/** Percentages, also of single structures; as given until checkRequest() reads them. */
struct LimitOptions {
    std::vector<std::string> tolerance;
    std::vector<std::string> action;
    std::vector<std::string> failBelow;
};

/** What is asked for beyond the criteria. */
struct ExplainOptions {
    bool isWanted = false;
    std::optional<double> range; ///< mm
    std::string structure;
    std::vector<std::string> sweeps; ///< as given
};

/** Sentences about it name the options of the command line. */
struct ComparisonRequest {
    std::string reference;
    std::string evaluation;
    std::vector<std::string> criteria; ///< like "3%/2mm", "PTV*:2%/1mm"
    Criterion single;                  ///< used without `criteria`
    GammaSettings settings;
    LimitOptions limits;
    StructureOptions structures;
    MeasurementOptions measurements;
    ExplainOptions explain;
    std::string commandLine; ///< kept in the outputs

    /** The criteria asked for, each once. @throws UsageError */
    std::vector<CriterionRequest> requests() const;
    std::vector<Criterion> criteriaToCompute() const;
};

/** The limits of all voxels. @throws UsageError */
Limits generalLimits(const LimitOptions& options);

/** Combinations that make no sense, whatever the files hold. @throws UsageError */
void checkRequest(const ComparisonRequest& request);

/** A comparison that holds what was asked, and no doses yet. @throws UsageError */
Comparison emptyComparison(const ComparisonRequest& request);

} // namespace zarngi

#endif
