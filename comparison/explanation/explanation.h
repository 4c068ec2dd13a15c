/**
 * @file explanation.h
 * Which shift and which dose factor of the evaluation explain the failed voxels;
 * docs/explain.md describes the search.
 */
#ifndef ZARNGI_COMPARISON_EXPLANATION_EXPLANATION_H
#define ZARNGI_COMPARISON_EXPLANATION_EXPLANATION_H

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "comparison/explanation/trial.h"
#include "comparison/failedSides.h"
#include "comparison/structures/namedPart.h"

namespace zarngi
{

/** Which words tell a direction. */
enum class ShiftAxes {
    patient, ///< left, posterior, superior
    plane    ///< +x, +y: those of planes that lie nowhere in the patient
};

struct ExplanationRequest {
    Criterion criterion;
    std::optional<double> step; ///< mm; none: a tenth of the distance to agreement
    double maxGamma = 3;        ///< of the map after the change
    ShiftAxes axes = ShiftAxes::patient;
    std::optional<double> range;     ///< mm, > 0; none: the larger of 5 mm and two DTA
    std::optional<NamedPart> within; ///< only these voxels are explained; none: all tested ones
    std::vector<NamedPart> parts;    ///< in which is counted what remains
};

/** Is told the part of the work that is done, 0 to 1, before each computation; false ends it. */
using WatchExplanation = std::function<bool(double)>;

/** Whether the shift along an axis was searched, or why it was not. */
enum class AxisSearch {
    searched,
    notDetermined, ///< moving the evaluation by whole voxels changes nothing
    ambiguous,     ///< the opposite shift makes the doses agree nearly as well: noise, most likely
    oneVoxel,      ///< the evaluation has one voxel along it
    noRoom         ///< the evaluation ends too near to the tested voxels
};

/** What the failed voxels are explained by. */
enum class Conclusion { nothingFailed, shift, factor, both, neither };

/** What a change of the evaluation gives, in all voxels that are explained. */
struct ChangeResult {
    DoseChange change;
    double passRate = 0; ///< %
    std::size_t failed = 0;
};

/** Values of a parameter for which the pass rate stays within 0.1 percentage points. */
struct Interval {
    double lower = 0;
    double upper = 0;
};

/** The voxels that fail after the change. */
struct Remainder {
    FailedSides sides;         ///< hot and cold
    std::size_t unreached = 0; ///< no evaluation dose within reach
    Vec3 centre{};             ///< mm, the mean of their positions
    /** Those with most failed voxels first; only parts with some. */
    std::vector<std::pair<std::string, std::size_t>> parts;
};

struct Explanation {
    Criterion criterion;
    ShiftAxes shiftAxes = ShiftAxes::patient;
    std::string within; ///< name of the part; empty: all tested voxels
    double range = 0;   ///< mm, asked for
    Vec3 bounds{};      ///< mm, searched along each axis; 0 where it was not
    std::array<AxisSearch, 3> axes{};
    std::size_t tested = 0;
    ChangeResult before; ///< without a change
    ChangeResult both;   ///< the best shift and factor together
    ChangeResult shiftAlone;
    ChangeResult factorAlone;
    std::array<std::optional<Interval>, 3> shiftWithin; ///< mm, of the axes that were searched
    Interval factorWithin;
    Conclusion conclusion = Conclusion::neither;
    Remainder remainder; ///< after shift and factor
    GammaMaps after;     ///< after shift and factor, on the reference grid
    double cost = 0;     ///< computations of all the voxels that would take as long
    int computations = 0;
    double seconds = 0;
};

/** Dose factors that are searched. */
constexpr double leastFactor = 0.9;
constexpr double largestFactor = 1.1;

/** mm that are searched when no range is given. */
double defaultRange(const Criterion& criterion);

/**
 * @param engine has the settings of the comparison, with full gamma maps and an explicit
 *               normalisation dose.
 * @throws InputError when nothing is tested, or `watch` ended it; what the engine throws
 */
Explanation explain(GammaEngine& engine, const DoseView& reference, const DoseView& evaluation,
                    const ExplanationRequest& request, const WatchExplanation& watch = {});

} // namespace zarngi

#endif
