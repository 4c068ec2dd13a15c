/**
 * @file request.h
 * What is asked of a comparison, as values: each was parsed once, where it came in.
 */
#ifndef ZARNGI_COMPARISON_REQUEST_REQUEST_H
#define ZARNGI_COMPARISON_REQUEST_REQUEST_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "comparison/criterion.h"
#include "comparison/gammaRun.h"
#include "comparison/goals/goal.h"
#include "comparison/measurements/doseSum.h"
#include "comparison/measurements/normalisation.h"
#include "comparison/measurements/placement.h"
#include "comparison/noise/uncertainty.h"
#include "comparison/request/gate.h"
#include "comparison/request/header.h"
#include "comparison/structures/doseMetric.h"
#include "comparison/structures/structureLimits.h"
#include "comparison/sweep/criterionRange.h"
#include "comparison/verdict.h"
#include "files/host.h"

namespace zarngi
{

/** One of the two doses. */
struct DoseRequest {
    std::string file;
    std::vector<std::string> added; ///< files of doses on the same grid
    DoseFactor factor;
    UncertaintyRequest uncertainty; ///< not given: that of its file
};

/** A criterion, and the patterns of the structures that it is for; none: for everything. */
struct CriterionRequest {
    Criterion criterion;
    std::vector<std::string> patterns{};

    /** "3%/2mm", "PTV*,CTV:2%/1mm". */
    std::string label() const;
};

struct StructureRequest {
    std::vector<std::string> files;
    std::vector<std::string> shown;     ///< patterns and combinations; none: all
    std::vector<std::string> excluded;  ///< patterns
    std::string within;                 ///< an expression; empty: everything is tested
    std::vector<DoseMetric> metrics;    ///< beside the usual ones
    std::optional<double> prescription; ///< Gy
    bool ignoreFrame = false;
    /** Names that no structure has are left out and told, instead of refused. */
    bool ifPresent = false;
};

/** %, of all voxels and of single structures. */
struct LimitRequest {
    StructureLimits tolerance{Member::tolerance};
    StructureLimits action{Member::action};
    StructureLimits failBelow{Member::failBelow};

    /** Of all voxels. */
    Limits general() const;
};

/** Voxels of the reference that a caller names. */
struct NamedVoxels {
    std::string name;
    std::vector<unsigned char> mask; ///< for each voxel not 0: it is one of them
};

struct ExplanationWish {
    std::optional<double> range{};       ///< mm, 1 to 100; none: as docs/explain.md tells
    std::string structure;               ///< a pattern of one; empty: all tested voxels
    std::optional<NamedVoxels> voxels{}; ///< instead of a structure; in no document
};

/** That rates without statistical noise are estimated. */
struct NoiseWish {
    std::uint32_t seed = 1; ///< of the random numbers
};

/** What a request that is used again tells of itself; texts may be empty. */
struct Protocol {
    std::string name;
    std::string version;
    std::string title{};  ///< what it is for
    std::string source{}; ///< who has agreed on it
    std::string sha256{}; ///< of the protocol that the request came from, as protocolDigest() gives
};

struct Request {
    Protocol protocol;
    DoseRequest reference;
    DoseRequest evaluation;
    std::vector<CriterionRequest> criteria{{Criterion()}}; ///< at least one, each once
    NormalisationRequest normalisation;
    GammaSettings settings; ///< without a normalisation, which the doses may decide
    LimitRequest limits;
    std::vector<Goal> goals;
    StructureRequest structures;
    PlaneRequest plane;
    files::TableUnits units;                        ///< of files that tell none
    std::optional<UncertaintyUnit> uncertaintyUnit; ///< of files of uncertainties
    bool allowErrorDoses = false; ///< differences between doses are compared as doses
    std::optional<ExplanationWish> explanation;
    std::vector<CriterionRange> sweeps;
    std::optional<NoiseWish> noise;
    bool hasOnlyFindings = false; ///< the criteria themselves are not searched; in no document
    std::vector<Gate> refuse;     ///< warnings that end the comparison
    /** Whether a host guessed which dose is the reference, and nobody has confirmed it. */
    bool isReferenceGuessed = false;
    std::vector<std::string> plans; ///< files of the plans that the doses were computed from
    bool identify = false;          ///< outputs hold what the files say about patient and plan
    Header header;                  ///< what the user gave of it, in place of what files say
    std::string commandLine;        ///< that asked; may be empty; kept in the outputs
    /** SHA-256 of the files() when this was asked before; empty, or as many, some of them empty. */
    std::vector<std::string> formerDigests;

    // Not inline: many sources would compile copies of all that it holds.
    Request();
    Request(const Request& other);
    Request(Request&& other) noexcept;
    Request& operator=(const Request& other);
    Request& operator=(Request&& other) noexcept;
    ~Request();

    std::vector<Criterion> criteriaToCompute() const;
    std::vector<CriterionRequest> searchedCriteria() const;
    /** All that are read. */
    std::vector<std::string> files() const;
};

/**
 * Criteria like "3%/2mm" and "PTV*:2%/1mm"; those of one kind become one, for all structures that
 * ask for it.
 * @throws UsageError at Member::criteria
 */
std::vector<CriterionRequest> parseCriteria(const std::vector<std::string>& texts);

/** As a person would write them, one for each pattern. */
std::vector<std::string> textsOf(const std::vector<CriterionRequest>& criteria);

/** Leaves no file that it names. */
void clearFiles(Request& request);

/** Combinations that make no sense, whatever the files hold. @throws UsageError */
void checkRequest(const Request& request);

} // namespace zarngi

#endif
