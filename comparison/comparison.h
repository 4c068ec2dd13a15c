/**
 * @file comparison.h
 * Two dose distributions, what was asked of them and what came out.
 */
#ifndef ZARNGI_COMPARISON_COMPARISON_H
#define ZARNGI_COMPARISON_COMPARISON_H

#include <optional>
#include <string>
#include <vector>

#include "comparison/criterion.h"
#include "comparison/doseExtremes.h"
#include "comparison/doseImage.h"
#include "comparison/explanation/explanation.h"
#include "comparison/fileDigest.h"
#include "comparison/gammaRun.h"
#include "comparison/gammaStatistics.h"
#include "comparison/goals/goalResult.h"
#include "comparison/measurements/placement.h"
#include "comparison/noise/noiseEstimate.h"
#include "comparison/noise/noiseFindings.h"
#include "comparison/request/request.h"
#include "comparison/sentence.h"
#include "comparison/structures/structureComparison.h"
#include "comparison/structures/structureGamma.h"
#include "comparison/sweep/sweep.h"
#include "comparison/verdict.h"
#include "files/plans/plan.h"

namespace zarngi
{

/** The result for one criterion. */
struct CriterionResult {
    Criterion criterion;
    double step = 0; ///< mm, spacing of the search lattice
    GammaStatistics statistics;
    Verdict verdict = Verdict::fail; ///< of structures that it is for, the worst
    std::optional<NoiseEstimate> withoutNoise;
    double seconds = 0;                       ///< of the search
    files::LargeVector<float> gamma;          ///< on the reference grid; -1: not tested
    files::LargeVector<unsigned char> passed; ///< 1, 0, or 255: not tested
    std::vector<std::string> patterns;        ///< of the structures it is for; none: for everything
    /** One for each row of structures; none where the criterion is not for it. */
    std::vector<std::optional<StructureGamma>> structures;
    std::optional<StructureGamma> outside; ///< in none of the rows
    /** Of the rows that the criterion is for, the one with the worst verdict; none: all voxels. */
    std::optional<std::size_t> judgedRow;

    CriterionResult();
    CriterionResult(const CriterionResult& other);
    CriterionResult(CriterionResult&& other) noexcept;
    CriterionResult& operator=(const CriterionResult& other);
    CriterionResult& operator=(CriterionResult&& other) noexcept;
    ~CriterionResult();

    /** "3%/2mm", "PTV*:2%/1mm". */
    std::string label() const;
    /** Of what the verdict is about: all voxels, or those of a row. */
    const GammaStatistics& judged() const;
};

/** What makes the comparison doubtful as a whole. */
struct GateWarning {
    Gate name;
    Sentence sentence;
};

/** Where alone voxels were tested. */
struct TestedPart {
    std::string structures; ///< as they were asked for
    files::Runs voxels;     ///< of the reference grid
};

/** Doses at their place. */
struct GivenDoses {
    DoseImage reference; ///< where it is compared
    DoseImage evaluation;
    std::vector<DoseImage> referenceAdded; ///< without their values
    std::vector<DoseImage> evaluationAdded;
    /** Files of uncertainties, without their values. */
    std::optional<DoseImage> referenceUncertainty;
    std::optional<DoseImage> evaluationUncertainty;
    PlacedDoses placed;

    /** Of all files: the two, and what is added to them. */
    std::vector<const DoseImage*> all() const;
};

/** The doses of a comparison as they are searched. */
struct ComparedDoses : GivenDoses {
    DoseExtremes referenceExtremes{}; ///< of all doses, found once: grids are large
    DoseExtremes evaluationExtremes{};
    /** Gy (or the unit of relative doses): what DCO and a global dose difference refer to. */
    double normalisation = 0;

    const char* doseUnit() const { return files::unitName(reference.unit); }
};

/** Of several, the one that found no evaluation dose most often. */
const CriterionResult& mostUnreached(const std::vector<CriterionResult>& results);

struct ComparedPlan {
    files::Plan plan;
    bool isOfDoses = false; ///< else it is of another patient or dose: nothing of it is told
    bool isOfOtherPatient = false;
};

struct Comparison : ComparedDoses {
    Request request;
    GammaSettings settings; ///< of the search: with the normalisation where one was asked for
    FileDigests digests;    ///< of the files that were read, where a document is wanted
    std::optional<TestedPart> within;
    std::optional<StructureComparison> structures;
    std::vector<GoalResult> goals;
    std::vector<CriterionResult> results;
    std::optional<Explanation> explanation; ///< of one of the criteria; changes no result
    std::vector<Sweep> sweeps;
    std::optional<NoiseFindings> noise; ///< with the estimates of the results; changes none of them
    std::vector<Sentence> warnings;
    std::vector<GateWarning> gate; ///< beside the others
    double readSeconds = 0;
    bool isDiscreet = false; ///< no sentence quotes what stands in a file
    std::vector<ComparedPlan> plans;
    /** What was asked of a protocol's structures, where not all of them are there. */
    std::optional<Request> asked;

    /** With all that was asked, as a protocol has it. */
    const Request& askedRequest() const { return asked ? *asked : request; }
    /** Gy (or the unit of relative doses): only voxels above it were tested. */
    double cutOffDose() const { return settings.cutOff / 100 * normalisation; }
    /** Of all voxels. */
    Limits limits() const { return request.limits.general(); }
    /**
     * Whether a pass rate is below the limit that the user set: of all tested voxels, of a
     * structure with a limit of its own, and of one with a criterion of its own; or a goal is not
     * met. There, nothing tested is below as well, and what is not determined is not met.
     */
    bool isBelowLimit() const;
};

} // namespace zarngi

#endif
