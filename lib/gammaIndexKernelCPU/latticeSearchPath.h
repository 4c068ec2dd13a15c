/**
 * @file latticeSearchPath.h
 * The lattice search around one voxel, written once and compiled once per vector path.
 *
 * Everything has internal linkage, and nothing of the standard library that might be compiled out
 * of line is used: the linker must not merge code of different paths.
 *
 * Units inside: lengths in lattice steps, dose differences multiplied by `scale` = steps per DTA /
 * dose criterion, so that gamma^2 becomes f = u^2 + i^2 + j^2 + k^2 = gamma^2 * stepsPerDTA^2. This
 * f is computed approximately for whole vectors of points; a point is dropped only when f exceeds
 * the best value by more than the error of f (Margin), and the rest is evaluated in the specified
 * order of operations (consider).
 */
#ifndef ZARNGI_LATTICESEARCHPATH_H
#define ZARNGI_LATTICESEARCHPATH_H

#include "gammaTerm.h"
#include "lanes.h"
#include "latticeSearch.h"

namespace
{

template <class T> inline T smaller(T a, T b)
{
    return b < a ? b : a;
}

template <class T> inline T larger(T a, T b)
{
    return a < b ? b : a;
}

template <class T> inline T clamped(T value, T low, T high)
{
    return smaller(larger(value, low), high);
}

inline bool isFinite(float a)
{
    return a - a == 0.0F;
}

inline LatticeInterval common(LatticeInterval a, LatticeInterval b)
{
    return {larger(a.first, b.first), smaller(a.last, b.last)};
}

inline std::int32_t nearestToZero(LatticeInterval a)
{
    return clamped<std::int32_t>(0, a.first, a.last);
}

inline float squareOf(std::int32_t i)
{
    return static_cast<float>(i) * static_cast<float>(i);
}

/** Rounds to the nearest whole number; for |a| < 2^22, which lattice indices clamped later meet. */
inline Lanes::F rounded(Lanes::F a)
{
    const Lanes::F shift = Lanes::all(12582912.0F); // 1.5 * 2^23: its last bit is worth 1
    return (a + shift) - shift;
}

/** The lattice points of one cell along y and one along z, in the ranges that can matter. */
struct Block {
    const CellRun* yCell;
    const CellRun* zCell;
    LatticeInterval y;
    LatticeInterval z;
    float nearestSquared; ///< least j^2 + k^2
};

/** One vector of lattice indices along x: where its points lie in the evaluation grid. */
struct Column {
    std::int32_t first;
    unsigned lanes; ///< bit per lane that is in the range to be searched
    Lanes::F squared;
    Lanes::F fraction;
    std::int32_t base; ///< voxel below the first lane
    bool fits;         ///< the voxels of all lanes lie within one vector from `base`
    Lanes::I lower;    ///< voxels below and above, relative to `base`
    Lanes::I upper;

    /** The doses of a row of the evaluation grid at the lanes' x. */
    [[nodiscard]] Lanes::F interpolated(const float* row) const
    {
        const Lanes::F below = values(row + base, lower);
        const Lanes::F above = values(row + base, upper);
        return below + (above - below) * fraction;
    }

private:
    [[nodiscard]] Lanes::F values(const float* from, Lanes::I index) const
    {
        if (fits) {
            return Lanes::spread(from, index);
        }
        alignas(64) std::int32_t at[maxLanes];
        alignas(64) float dose[maxLanes];
        Lanes::storeIndices(at, index);
        for (int lane = 0; lane < Lanes::width; ++lane) {
            dose[lane] = from[at[lane]];
        }
        return Lanes::load(dose);
    }
};

class VoxelSearch
{
public:
    VoxelSearch(const SearchPass& pass, SearchScratch& scratch, ActiveVoxel& voxel)
        : pass_(pass), scratch_(scratch), voxel_(voxel)
    {
        const int nx = pass.reference.n[0];
        const int ny = pass.reference.n[1];
        index_[0] = voxel.ivxl % nx;
        index_[1] = voxel.ivxl / nx % ny;
        index_[2] = voxel.ivxl / nx / ny;
        for (int a = 0; a < 3; ++a) {
            sample_[a] = &pass.axes->axis[a][static_cast<std::size_t>(index_[a])];
        }
    }

    void run()
    {
        if (!shellReachesBox()) {
            return;
        }
        referenceDose_ =
            doseAtPoint(pass_.reference.map, pass_.reference.n, sample_[0]->inReference,
                        sample_[1]->inReference, sample_[2]->inReference, pass_.reader);
        delta_ = doseCriterion(pass_.localDD, referenceDose_, pass_.dd, pass_.ddValue);
        // With a criterion of 0 or not a number no point has a gamma^2 that is finite.
        if (!(delta_ < 0 || delta_ > 0)) {
            return;
        }
        scale_ = pass_.stepsPerDTA / (delta_ < 0 ? -delta_ : delta_);
        best_ = voxel_.gammasq;
        tame_ = squaresAreNormal();
        cap_ = largestUseful();
        limitChanged();
        tryFirstCandidates();
        if (!settled() && !originDecides()) {
            searchInterpolated();
            searchVoxelwise();
        }
        store();
    }

private:
    /** Whether some lattice point inside the evaluation box may belong to the shell. */
    [[nodiscard]] bool shellReachesBox() const
    {
        double squared = 0;
        for (const AxisSample* sample : sample_) {
            if (sample->inside.empty()) {
                return false;
            }
            squared += static_cast<double>(sample->nearest) * sample->nearest;
        }
        return static_cast<float>(squared) <= pass_.shell.outerRadiusSquared();
    }

    /** Whether no lattice point but the origin can matter, and that has been considered. */
    [[nodiscard]] bool originDecides() const
    {
        const auto holdsOrigin = [](const LatticeInterval& range) {
            return range.first <= 0 && range.last >= 0;
        };
        return threshold_ < 1.0F && holdsOrigin(candidates_[0]) && holdsOrigin(candidates_[1]) &&
               holdsOrigin(candidates_[2]);
    }

    /** In pass-rate mode one passing point is enough. */
    [[nodiscard]] bool settled() const { return pass_.passRateMode && best_ <= 1.0F; }

    /**
     * The largest gamma^2 this pass must find exactly.
     *
     * In pass-rate mode 1. Otherwise, when a later pass will search this voxel again, what the
     * distance term can reach in this shell: a voxel whose least gamma^2 is larger stays open, and
     * the later pass finds it, as a pass searches all shells up to its own.
     */
    [[nodiscard]] float largestUseful() const
    {
        if (pass_.passRateMode) {
            return 1.0F;
        }
        const bool searchedAgain = !pass_.isLast && farthestSquared() > pass_.outerSquared;
        return searchedAgain ? pass_.largestDistanceTerm : __builtin_inff();
    }

    /** Squared distance in steps of the farthest lattice point inside the evaluation box. */
    [[nodiscard]] float farthestSquared() const
    {
        double squared = 0;
        for (const AxisSample* sample : sample_) {
            squared += static_cast<double>(sample->farthest) * sample->farthest;
        }
        return static_cast<float>(squared);
    }

    /** gamma^2 that a point must not exceed to matter. */
    [[nodiscard]] float limit() const { return pass_.passRateMode ? cap_ : smaller(best_, cap_); }

    /**
     * Whether squares of differences that matter are computed without underflow.
     *
     * The exact gamma^2 squares doses and distances before it divides. A square below 2^-126 loses
     * up to 2^-150, or 2^-150 / criterion^2 of gamma^2; with a criterion of 2^-60 n that is below
     * 2^-29 of the gamma^2 of the nearest points but the origin, 1 / n^2. Squares of the step are
     * normal from 2^-63 on. Where this does not hold, every point is evaluated.
     */
    [[nodiscard]] bool squaresAreNormal() const
    {
        const float criterion = delta_ < 0 ? -delta_ : delta_;
        return criterion >= 0x1p-60F * larger(pass_.stepsPerDTA, 1.0F) &&
               pass_.stepSize >= 0x1p-50F;
    }

    void limitChanged()
    {
        threshold_ = tame_ ? limit() * pass_.thresholdPerLimit : __builtin_inff();
        root_ = __builtin_sqrtf(threshold_);
        const std::int32_t reach = root_ < static_cast<float>(pass_.outerIndex)
                                       ? static_cast<std::int32_t>(root_)
                                       : pass_.outerIndex;
        reach_ = {-reach, reach};
    }

    /** Lattice indices on an axis that can matter, given how near the box comes on the others. */
    [[nodiscard]] LatticeInterval reachOn(int axis) const
    {
        float room = smaller(threshold_, pass_.outerSquared);
        for (int a = 0; a < 3; ++a) {
            room -= a == axis ? 0.0F : squareOf(sample_[a]->nearest);
        }
        if (!(room >= 0)) {
            return {0, -1};
        }
        // One more step covers the rounding of the squares of large indices.
        const float reach = __builtin_sqrtf(room) + 1;
        const std::int32_t last = reach < static_cast<float>(reach_.last)
                                      ? static_cast<std::int32_t>(reach)
                                      : reach_.last;
        return {-last, last};
    }

    /** Whether this shell or an earlier one holds the point. */
    [[nodiscard]] bool isMember(std::int32_t i, std::int32_t j, std::int32_t k) const
    {
        const std::int64_t squared =
            std::int64_t{i} * i + std::int64_t{j} * j + std::int64_t{k} * k;
        return squared <= pass_.wholeSquared || pass_.isEnumerated(i, j, k);
    }

    /** Takes one evaluation point into account, in the specified order of operations. */
    void consider(float dose, std::int32_t i, std::int32_t j, std::int32_t k)
    {
        const float x = static_cast<float>(i) * pass_.stepSize;
        const float y = static_cast<float>(j) * pass_.stepSize;
        const float z = static_cast<float>(k) * pass_.stepSize;
        const float r2 = (x * x + y * y) + z * z;
        const float DDterm = dose - referenceDose_;
        // Most points are told to be no better without the four divisions. The error of this
        // estimate is some ten roundings.
        const float u = DDterm * scale_;
        if (u * u + r2 * pass_.stepsPerMmSquared > threshold_) {
            return;
        }
        const float Gammasq = gammaSquared(DDterm, delta_, distanceTerm(r2, pass_.dta));
        // Of points with equal gamma^2 the nearest one counts, as when they are visited in order.
        if (Gammasq < best_ || (Gammasq == best_ && r2 < bestDistanceSquared_)) {
            best_ = Gammasq;
            bestDistanceSquared_ = r2;
            limitChanged();
        }
    }

    [[nodiscard]] float doseOf(const AxisPoint (&p)[3]) const
    {
        return doseAtPoint(pass_.evaluation.map, pass_.evaluation.n, p[0], p[1], p[2],
                           pass_.reader);
    }

    [[nodiscard]] AxisPoint locatePoint(int axis, std::int32_t i) const
    {
        const float position = sample_[axis]->position + static_cast<float>(i) * pass_.stepSize;
        return locate(position, pass_.evaluation.x0[axis], pass_.evaluation.h[axis],
                      pass_.evaluation.n[axis], pass_.reader);
    }

    /** A lattice point of the zone between voxel centres. */
    [[nodiscard]] AxisPoint centrePoint(int axis, std::int32_t i) const
    {
        AxisPoint p{Zone::centre, 0, 0, 0, 0.0F};
        const float position = sample_[axis]->position + static_cast<float>(i) * pass_.stepSize;
        setNeighbours(p, (position - pass_.evaluation.x0[axis]) / pass_.evaluation.h[axis],
                      pass_.evaluation.n[axis]);
        return p;
    }

    /** The same from the window of the axis. */
    [[nodiscard]] AxisPoint windowPoint(int axis, std::int32_t i) const
    {
        const AxisWindow& window = scratch_.window[axis];
        const std::int32_t at = i - window.range.first;
        const int lower = window.lower[at];
        const int upper = lower + (pass_.evaluation.n[axis] > 1 ? 1 : 0);
        return {Zone::centre, 0, lower, upper, window.fraction[at]};
    }

    /** The cell along x that holds a lattice index, give or take a slack in steps. */
    [[nodiscard]] std::int32_t cellOf(std::int32_t i, float slack) const
    {
        const float cell = (static_cast<float>(i) + slack - firstCellStart_) * pass_.cellsPerStep;
        const int lastCell = larger(pass_.evaluation.n[0] - 2, 0);
        return static_cast<std::int32_t>(clamped(cell, 0.0F, static_cast<float>(lastCell)));
    }

    void tryFirstCandidates();
    bool tryCandidate(std::int32_t (&p)[3]);
    void tryRim(const std::int32_t (&p)[3]);
    void searchInterpolated();
    void prepareWindow(int axis, LatticeInterval range);
    void findCellRuns(int axis);
    void searchCells(const Block& first, std::int32_t firstCell, std::int32_t lastCell);
    void searchCellRow(const Block& block, std::int32_t firstCell, unsigned open);
    void searchBlock(const Block& block, const Column& column);
    const Column& columnNumber(std::int32_t number);
    [[nodiscard]] Column columnAt(std::int32_t first, std::int32_t last) const;
    void searchVoxelwise();
    void findVoxelRuns(int axis, LatticeInterval range);
    void considerVoxel(const VoxelRun& x, const VoxelRun& y, const VoxelRun& z);
    void considerVoxelRows(const VoxelRun& x, const VoxelRun& y, const VoxelRun& z, float dose);
    void considerRow(std::int32_t i, std::int32_t j, const Block& block, float margin);

    void store()
    {
        if (best_ < voxel_.gammasq && (pass_.passRateMode || best_ <= cap_)) {
            voxel_.gammasq = best_;
            voxel_.distanceMinGamma = __builtin_sqrtf(bestDistanceSquared_);
        }
        if (best_ <= 1.0F) {
            voxel_.passed = true;
        }
    }

    const SearchPass& pass_;
    SearchScratch& scratch_;
    ActiveVoxel& voxel_;
    std::int32_t index_[3];
    const AxisSample* sample_[3];
    float referenceDose_ = 0;
    float delta_ = 0;               ///< Gy, dose criterion
    float scale_ = 0;               ///< steps per Gy
    float cap_ = 0;                 ///< largest gamma^2 that this pass must find exactly
    bool tame_ = true;              ///< squaresAreNormal()
    float best_ = 0;                ///< least gamma^2 so far
    float bestDistanceSquared_ = 0; ///< mm^2, of the point that gave it in this pass
    float threshold_ = 0;           ///< f above it cannot matter, but for the error of u
    float root_ = 0;                ///< its square root
    LatticeInterval reach_{0, -1};  ///< lattice indices that can matter on any axis
    LatticeInterval candidates_[3] = {
        {0, -1}, {0, -1}, {0, -1}}; ///< lattice indices between voxel centres within the shell
    LatticeInterval range_[3];      ///< lattice indices between voxel centres within reach_
    float firstCellStart_ = 0;      ///< steps, lower end of the first cell along x
    static constexpr std::int32_t keptColumns = 4;
    Column columns_[keptColumns]; ///< the columns searched last; no lanes: none
};

} // namespace

#endif
