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

    void limitChanged()
    {
        threshold_ = limit() * pass_.thresholdPerLimit;
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

// ---- First candidates ---------------------------------------------------------------------------

/**
 * Considers the point p and moves it to the minimum of the dose field linearised there. Returns
 * whether it moved.
 */
bool VoxelSearch::tryCandidate(std::int32_t (&p)[3])
{
    const AxisPoint x = centrePoint(0, p[0]);
    const AxisPoint y = windowPoint(1, p[1]);
    const AxisPoint z = windowPoint(2, p[2]);
    const LinearDose linear =
        linearDose(pass_.evaluation.map, pass_.evaluation.n, x, y, z, pass_.reader);
    if (isMember(p[0], p[1], p[2])) {
        consider(linear.dose, p[0], p[1], p[2]);
    }
    float g[3];
    for (int a = 0; a < 3; ++a) {
        g[a] = linear.perVoxel[a] * scale_ * pass_.voxelsPerStep[a];
    }
    const float u = (linear.dose - referenceDose_) * scale_;
    const float at0 = u - (g[0] * static_cast<float>(p[0]) + g[1] * static_cast<float>(p[1]) +
                           g[2] * static_cast<float>(p[2]));
    const float steepness = g[0] * g[0] + g[1] * g[1] + g[2] * g[2];
    // Far above what this pass must find: the ranges of the doses will exclude most cells.
    if (at0 * at0 > 4 * cap_ * pass_.thresholdPerLimit * (steepness + 1.0F)) {
        return false;
    }
    float move = -at0 / (steepness + 1.0F);
    const float length = move * move * steepness;
    const float outer = pass_.outerWhole;
    const bool beyondRim = !(length <= outer);
    if (beyondRim) {
        move *= __builtin_sqrtf(outer / length);
    }
    bool moved = false;
    for (int a = 0; a < 3; ++a) {
        const float target = move * g[a];
        if (!isFinite(target)) {
            return false;
        }
        const LatticeInterval& range = candidates_[a];
        const float nearest =
            clamped(target, static_cast<float>(range.first), static_cast<float>(range.last));
        const auto next = static_cast<std::int32_t>(nearest + (nearest < 0 ? -0.5F : 0.5F));
        moved = moved || next != p[a];
        p[a] = clamped(next, range.first, range.last);
    }
    if (beyondRim) {
        tryRim(p);
    }
    return moved;
}

/** Considers the points of the shell's rim on the three lattice rows through the point p. */
void VoxelSearch::tryRim(const std::int32_t (&p)[3])
{
    for (int a = 0; a < 3; ++a) {
        const int b = a == 0 ? 1 : 0;
        const int c = a == 2 ? 1 : 2;
        const float room = pass_.outerWhole - squareOf(p[b]) - squareOf(p[c]);
        if (room < 0) {
            continue;
        }
        const auto rim = static_cast<std::int32_t>(__builtin_sqrtf(room + 0.01F));
        const LatticeInterval range = common(sample_[a]->centre, {-rim, rim});
        if (range.empty()) {
            continue;
        }
        std::int32_t q[3] = {p[0], p[1], p[2]};
        q[a] = p[a] < 0 ? range.first : range.last;
        if (isMember(q[0], q[1], q[2])) {
            consider(doseOf({locatePoint(0, q[0]), locatePoint(1, q[1]), locatePoint(2, q[2])}),
                     q[0], q[1], q[2]);
        }
    }
}

void VoxelSearch::tryFirstCandidates()
{
    std::int32_t p[3];
    for (int a = 0; a < 3; ++a) {
        candidates_[a] = common(sample_[a]->centre, {-pass_.outerIndex, pass_.outerIndex});
        if (candidates_[a].empty()) {
            return;
        }
        p[a] = nearestToZero(candidates_[a]);
    }
    for (int a = 1; a < 3; ++a) {
        if (scratch_.window[a].referenceIndex != index_[a]) {
            prepareWindow(a, candidates_[a]);
            findCellRuns(a);
        }
    }
    constexpr int steps = 3;
    for (int step = 0; step < steps && tryCandidate(p); ++step) {
    }
}

// ---- Between voxel centres ----------------------------------------------------------------------

void VoxelSearch::findCellRuns(int axis)
{
    AxisWindow& window = scratch_.window[axis];
    window.runs.count = 0;
    const int n = pass_.evaluation.n[axis];
    const bool planar = axis == 2 && pass_.reader == Reader::bilinear;
    const float slope = n == 1 || planar ? 0.0F : pass_.stepSize / pass_.evaluation.h[axis];
    for (std::int32_t i = window.range.first; i <= window.range.last; ++i) {
        const std::int32_t at = i - window.range.first;
        AxisPoint p{Zone::centre, 0, window.lower[at], 0, window.fraction[at]};
        p.upper = p.lower + (n > 1 ? 1 : 0);
        if (planar) {
            p.lower = p.upper = nearestPlane(p);
            p.fraction = 0;
        }
        CellRun* const last = window.runs.items + window.runs.count - 1;
        if (window.runs.count == 0 || last->lower != p.lower) {
            const float offset = p.fraction - slope * static_cast<float>(i);
            window.runs.items[window.runs.count++] = {i, i, p.lower, p.upper, offset, slope, 0};
        }
        CellRun& run = window.runs.items[window.runs.count - 1];
        run.last = i;
        const float line = run.offset + slope * static_cast<float>(i);
        const float deviation = __builtin_fabsf(p.fraction - line);
        // Rounding of offset + slope * index itself, in whatever order it is summed up.
        const float rounding = 0x1p-22F * (1.0F + __builtin_fabsf(run.offset) +
                                           slope * __builtin_fabsf(static_cast<float>(i)));
        run.deviation = larger(run.deviation, deviation + rounding);
    }
}

void VoxelSearch::prepareWindow(int axis, LatticeInterval range)
{
    AxisWindow& window = scratch_.window[axis];
    window.range = range;
    window.referenceIndex = index_[axis];
    const float origin = sample_[axis]->position;
    const float x0 = pass_.evaluation.x0[axis];
    const float h = pass_.evaluation.h[axis];
    const int n = pass_.evaluation.n[axis];
    const float step = pass_.stepSize;
    const std::int32_t count = range.last - range.first + 1;
    std::int32_t* const lower = window.lower;
    float* const fraction = window.fraction;
    for (std::int32_t i = 0; i < count; ++i) {
        AxisPoint p{};
        const float position = origin + static_cast<float>(range.first + i) * step;
        setNeighbours(p, (position - x0) / h, n);
        lower[i] = p.lower;
        fraction[i] = p.fraction;
    }
}

Column VoxelSearch::columnAt(std::int32_t first, std::int32_t last) const
{
    using F = Lanes::F;
    Column column;
    column.first = first;
    const std::int32_t count = smaller(last - first + 1, Lanes::width);
    column.lanes = Lanes::everyLane >> (Lanes::width - count);
    const int n = pass_.evaluation.n[0];
    const F index = Lanes::counting(first);
    column.squared = index * index;
    // The same operations as setNeighbours, for all lanes at once.
    const F position = Lanes::all(sample_[0]->position) + index * Lanes::all(pass_.stepSize);
    const F centred =
        (position - Lanes::all(pass_.evaluation.x0[0])) / Lanes::all(pass_.evaluation.h[0]) -
        Lanes::all(0.5F);
    const F below = n == 1
                        ? Lanes::all(0)
                        : Lanes::min(Lanes::whole(centred), Lanes::all(static_cast<float>(n - 2)));
    column.fraction = n == 1 ? Lanes::all(0) : centred - below;
    const F relative = below - Lanes::all(below[0]);
    column.base = static_cast<std::int32_t>(below[0]);
    column.lower = Lanes::truncated(relative);
    column.upper = Lanes::truncated(relative + Lanes::all(n == 1 ? 0.0F : 1.0F));
    column.fits = relative[Lanes::width - 1] + 1 < static_cast<float>(Lanes::spreadRange);
    return column;
}

/** The lattice points between voxel centres on every axis. */
void VoxelSearch::searchInterpolated()
{
    for (int a = 0; a < 3; ++a) {
        range_[a] = common(sample_[a]->centre, reachOn(a));
        if (range_[a].empty()) {
            return;
        }
    }
    firstCellStart_ = static_cast<float>(
        (pass_.firstCentre - static_cast<double>(sample_[0]->position)) * pass_.stepsPerMm);
    for (Column& column : columns_) {
        column.lanes = 0;
    }
    const std::int32_t firstCell = cellOf(range_[0].first, -pass_.cellSlack);
    const std::int32_t lastCell = cellOf(range_[0].last, pass_.cellSlack);
    for (const CellRun& zCell : scratch_.window[2].runs) {
        const LatticeInterval z = common({zCell.first, zCell.last}, common(range_[2], reach_));
        if (z.empty()) {
            continue;
        }
        const Block block{nullptr, &zCell, {0, -1}, z, squareOf(nearestToZero(z))};
        for (std::int32_t cell = firstCell; cell <= lastCell; cell += Lanes::width) {
            if (block.nearestSquared > threshold_ || settled()) {
                break;
            }
            searchCells(block, cell, smaller(cell + Lanes::width - 1, lastCell));
        }
    }
}

/** Searches the cells of one plane of cells that the range of their doses does not exclude. */
void VoxelSearch::searchCells(const Block& plane, std::int32_t firstCell, std::int32_t lastCell)
{
    using F = Lanes::F;
    const int* const n = pass_.evaluation.n;
    const Room<CellRun>& yCells = scratch_.window[1].runs;
    const CellRun* begin = yCells.begin();
    const CellRun* end = yCells.end();
    const LatticeInterval yRange = common(range_[1], reach_);
    while (begin != end && begin->last < yRange.first) {
        ++begin;
    }
    while (begin != end && (end - 1)->first > yRange.last) {
        --end;
    }
    if (begin == end) {
        return;
    }
    // Least and largest dose of the four voxels around each cell in x and z, row by row.
    const std::int32_t firstRow = begin->lower;
    const std::int32_t lastRow = (end - 1)->upper;
    const int right = n[0] > 1 ? 1 : 0;
    const float* const lowerPlane =
        pass_.evaluation.map + voxelIndex(n, firstCell, 0, plane.zCell->lower);
    const float* const upperPlane =
        pass_.evaluation.map + voxelIndex(n, firstCell, 0, plane.zCell->upper);
    for (std::int32_t row = firstRow; row <= lastRow; ++row) {
        const float* const p = lowerPlane + n[0] * row;
        const float* const q = upperPlane + n[0] * row;
        const F a = Lanes::load(p);
        const F b = Lanes::load(p + right);
        const F c = Lanes::load(q);
        const F d = Lanes::load(q + right);
        const std::int32_t at = (row - firstRow) * Lanes::width;
        Lanes::store(scratch_.rows[0] + at, Lanes::min(Lanes::min(a, b), Lanes::min(c, d)));
        Lanes::store(scratch_.rows[1] + at, Lanes::max(Lanes::max(a, b), Lanes::max(c, d)));
    }
    const F zero = Lanes::all(0);
    const F start = Lanes::all(firstCellStart_) +
                    Lanes::counting(firstCell) * Lanes::all(pass_.cellWidth) -
                    Lanes::all(pass_.cellSlack);
    const F stop = start + Lanes::all(pass_.cellWidth + 2 * pass_.cellSlack);
    const F xNearest = Lanes::max(Lanes::max(start, zero - stop), zero);
    const F xSquared = xNearest * xNearest;
    const F referenceDose = Lanes::all(referenceDose_);
    const F scale = Lanes::all(scale_);
    const F slack = Lanes::all(0x1p-20F);
    const F slackOfReference = Lanes::all(0x1p-20F * __builtin_fabsf(referenceDose_));
    const unsigned cells = Lanes::everyLane >> (Lanes::width - (lastCell - firstCell + 1));
    for (const CellRun* yCell = begin; yCell != end; ++yCell) {
        Block block = plane;
        block.yCell = yCell;
        block.y = common({yCell->first, yCell->last}, common(range_[1], reach_));
        if (block.y.empty()) {
            continue;
        }
        block.nearestSquared += squareOf(nearestToZero(block.y));
        const std::int32_t lower = (yCell->lower - firstRow) * Lanes::width;
        const std::int32_t upper = (yCell->upper - firstRow) * Lanes::width;
        const F least = Lanes::min(Lanes::load(scratch_.rows[0] + lower),
                                   Lanes::load(scratch_.rows[0] + upper));
        const F most = Lanes::max(Lanes::load(scratch_.rows[1] + lower),
                                  Lanes::load(scratch_.rows[1] + upper));
        // An interpolated dose leaves the range of its corners by some roundings at most.
        const F rounding = Lanes::max(most, zero - least) * slack + slackOfReference;
        const F away = Lanes::max(least - referenceDose, referenceDose - most) - rounding;
        const F u = Lanes::max(away, zero) * scale;
        const F bound = u * u + (xSquared + Lanes::all(block.nearestSquared));
        const unsigned open = Lanes::notGreater(bound, Lanes::all(threshold_)) & cells;
        if (open != 0) {
            searchCellRow(block, firstCell, open);
            if (settled()) {
                return;
            }
        }
    }
}

/** The column of lanes with this number, counted from the start of the range along x. */
const Column& VoxelSearch::columnNumber(std::int32_t number)
{
    const std::int32_t first = range_[0].first + number * Lanes::width;
    Column& column = columns_[number % keptColumns];
    if (column.lanes == 0 || column.first != first) {
        column = columnAt(first, range_[0].last);
    }
    return column;
}

/** Searches the cells of a row along x whose bits are set, counted from firstCell. */
void VoxelSearch::searchCellRow(const Block& block, std::int32_t firstCell, unsigned open)
{
    const LatticeInterval whole = range_[0];
    if (whole.last - whole.first < Lanes::width) {
        searchBlock(block, columnNumber(0));
        return;
    }
    const int lowest = __builtin_ctz(open);
    const int highest = 31 - __builtin_clz(open);
    const float start = firstCellStart_ + static_cast<float>(firstCell + lowest) * pass_.cellWidth;
    const float stop =
        firstCellStart_ + static_cast<float>(firstCell + highest + 1) * pass_.cellWidth;
    const LatticeInterval wanted = common(whole, reach_);
    const auto low = static_cast<float>(wanted.first);
    const auto high = static_cast<float>(wanted.last);
    const auto first =
        static_cast<std::int32_t>(__builtin_ceilf(clamped(start - pass_.cellSlack, low, high)));
    const auto last =
        static_cast<std::int32_t>(__builtin_floorf(clamped(stop + pass_.cellSlack, low, high)));
    const std::int32_t lastNumber = (last - whole.first) / Lanes::width;
    for (std::int32_t number = (first - whole.first) / Lanes::width; number <= lastNumber;
         ++number) {
        if (settled()) {
            return;
        }
        searchBlock(block, columnNumber(number));
    }
}

void VoxelSearch::searchBlock(const Block& block, const Column& column)
{
    using F = Lanes::F;
    const int* const n = pass_.evaluation.n;
    const F zero = Lanes::all(0);
    const F one = Lanes::all(1);
    const F referenceDose = Lanes::all(referenceDose_);
    const F scale = Lanes::all(scale_);
    const auto differenceAt = [&](std::int32_t row, std::int32_t plane) {
        const float* const p = pass_.evaluation.map + voxelIndex(n, 0, row, plane);
        return (column.interpolated(p) - referenceDose) * scale;
    };
    const F u00 = differenceAt(block.yCell->lower, block.zCell->lower);
    const F u10 = differenceAt(block.yCell->upper, block.zCell->lower);
    const F u01 = differenceAt(block.yCell->lower, block.zCell->upper);
    const F u11 = differenceAt(block.yCell->upper, block.zCell->upper);
    const F least = Lanes::min(Lanes::min(u00, u10), Lanes::min(u01, u11));
    const F most = Lanes::max(Lanes::max(u00, u10), Lanes::max(u01, u11));
    // Error of u: the fraction along z is off by at most `deviation`, and the some 30 roundings of
    // both computations act on values no larger than |u| and scale * |reference dose|.
    const F magnitude =
        Lanes::max(most, zero - least) + Lanes::all(scale_ * __builtin_fabsf(referenceDose_));
    F error =
        (most - least) * Lanes::all(block.zCell->deviation) + magnitude * Lanes::all(0x1p-19F);
    // Where squares of u might overflow, every point is evaluated.
    if (Lanes::notGreater(magnitude, Lanes::all(1e15F)) != Lanes::everyLane) {
        error = Lanes::all(__builtin_inff());
    }
    // The row minimum may be taken at the wrong one of two nearly equal neighbours: off by at most
    // 2^-21 * (4 |k| + 2) of the limit.
    const auto farthest = static_cast<float>(larger(-block.z.first, block.z.last));
    const float neighbour = 1.0F + 0x1p-18F * (1.0F + farthest);
    const auto thresholdNow = [&] {
        return Lanes::all(threshold_ * neighbour) + error * (Lanes::all(2 * root_) + error);
    };
    F threshold = thresholdNow();
    const F away = Lanes::max(Lanes::max(least, zero - most), zero);
    const F bound = away * away + (column.squared + Lanes::all(block.nearestSquared));
    if ((Lanes::notGreater(bound, threshold) & column.lanes) == 0) {
        return;
    }
    const F d0 = u10 - u00;
    const F d1 = u11 - u01;
    const F slope = Lanes::all(block.zCell->slope);
    const F offset = Lanes::all(block.zCell->offset);
    const F zFirst = Lanes::all(static_cast<float>(block.z.first));
    const F zLast = Lanes::all(static_cast<float>(block.z.last));
    const F outer = Lanes::all(pass_.outerWhole);
    // Below this no point within the threshold lies outside the shell's sphere.
    const bool rimMatters =
        Lanes::notGreater(threshold, Lanes::all(static_cast<float>(pass_.wholeSquared))) !=
        Lanes::everyLane;
    const AxisWindow& yWindow = scratch_.window[1];
    const LatticeInterval lanesRange{column.first, column.first + Lanes::width - 1};
    const float yRoom = smaller(threshold_, pass_.outerWhole) + 0.01F -
                        squareOf(nearestToZero(block.z)) - squareOf(nearestToZero(lanesRange));
    if (yRoom < 0) {
        return;
    }
    const auto yReach = static_cast<std::int32_t>(__builtin_sqrtf(yRoom)) + 1;
    const LatticeInterval y = common(block.y, {-yReach, yReach});
    for (std::int32_t j = y.first; j <= y.last; ++j) {
        const F t = Lanes::all(yWindow.fraction[j - yWindow.range.first]);
        const F u0 = u00 + d0 * t;
        const F u1 = u01 + d1 * t;
        const F gradient = u1 - u0;
        const F b = gradient * slope;
        const F a = u0 + gradient * offset;
        const F inPlane = column.squared + Lanes::all(squareOf(j));
        F first = zFirst;
        F last = zLast;
        if (rimMatters) {
            const F room = Lanes::max(outer - inPlane, zero);
            const F rim = rounded(Lanes::sqrt(room + Lanes::all(0.01F)) - Lanes::all(0.499F));
            first = Lanes::max(zFirst, zero - rim);
            last = Lanes::min(zLast, rim);
        }
        const F lowest = rounded((zero - a * b) / (b * b + one));
        const F k = Lanes::min(Lanes::max(lowest, first), last);
        const F u = a + b * k;
        const F f = u * u + (k * k + inPlane);
        unsigned open = Lanes::notGreater(f, threshold) & column.lanes;
        if (open == 0) {
            continue;
        }
        // Lanes whose row does not meet this cell within the shell's sphere.
        open &= Lanes::notGreater(inPlane, outer) & Lanes::notGreater(first, last);
        if (open == 0) {
            continue;
        }
        alignas(64) float values[maxLanes];
        alignas(64) float margins[maxLanes];
        Lanes::store(values, f);
        Lanes::store(margins, error);
        while (open != 0 && !settled()) {
            const int lane = leastLane(values, open);
            considerRow(column.first + lane, j, block, margins[lane]);
            threshold = thresholdNow();
            open &= Lanes::notGreater(f, threshold) & ~(1U << lane);
        }
        if (settled()) {
            return;
        }
    }
}

/**
 * Considers the points of the lattice row (i, j) in one cell along z that can matter: those within
 * the width of the row's parabola below the threshold. `margin` is the error of u.
 */
void VoxelSearch::considerRow(std::int32_t i, std::int32_t j, const Block& block, float margin)
{
    const CellRun& cell = *block.zCell;
    const float room = pass_.outerWhole - (squareOf(i) + squareOf(j));
    const auto rim = static_cast<std::int32_t>(__builtin_sqrtf(room + 0.01F));
    const LatticeInterval range = common(block.z, {-rim, rim});
    if (range.empty()) {
        return;
    }
    const AxisPoint x = centrePoint(0, i);
    const AxisPoint y = windowPoint(1, j);
    const float c0 = mixInPlane(pass_.evaluation.map, pass_.evaluation.n, x, y, cell.lower);
    const float c1 = mixInPlane(pass_.evaluation.map, pass_.evaluation.n, x, y, cell.upper);
    // A cell with a corner that is not finite has no point with a finite dose.
    if (!isFinite(c0) || !isFinite(c1)) {
        return;
    }
    const bool planar = pass_.reader == Reader::bilinear;
    const AxisWindow& zWindow = scratch_.window[2];
    const auto considerAt = [&](std::int32_t k) {
        if (!isMember(i, j, k)) {
            return false;
        }
        const float fraction = zWindow.fraction[k - zWindow.range.first];
        consider(planar ? c0 : mix(c0, c1, fraction), i, j, k);
        return true;
    };
    const double u0 = (static_cast<double>(c0) - static_cast<double>(referenceDose_)) *
                      static_cast<double>(scale_);
    const double rise =
        (static_cast<double>(c1) - static_cast<double>(c0)) * static_cast<double>(scale_);
    const double b = rise * static_cast<double>(cell.slope);
    const double a = u0 + rise * static_cast<double>(cell.offset);
    const double curvature = b * b + 1;
    const double lowest = -a * b / curvature;
    const double least =
        a * a / curvature + static_cast<double>(squareOf(i)) + static_cast<double>(squareOf(j));
    const double first = range.first;
    const double last = range.last;
    if (!(lowest - lowest == 0) || !(curvature - curvature == 0)) {
        for (std::int32_t k = range.first; k <= range.last; ++k) {
            considerAt(k);
        }
        return;
    }
    const auto centre =
        static_cast<std::int32_t>(__builtin_floor(clamped(lowest, first, last) + 0.5));
    const bool centreIsMember = considerAt(centre);
    if (centreIsMember && planar) {
        return; // the dose is the same along the run, and no point of it is nearer
    }
    const double allowed = static_cast<double>(threshold_) +
                           static_cast<double>(margin) *
                               (2 * static_cast<double>(root_) + static_cast<double>(margin));
    const double excess = larger((allowed - least) / curvature, 0.0);
    // One hundredth of a step covers the rounding of `lowest`.
    const double width = __builtin_sqrt(excess) + 0.01;
    const auto kFirst =
        static_cast<std::int32_t>(__builtin_ceil(clamped(lowest - width, first, last)));
    const auto kLast =
        static_cast<std::int32_t>(__builtin_floor(clamped(lowest + width, first, last)));
    for (std::int32_t k = kFirst; k <= kLast; ++k) {
        if (k != centre) {
            considerAt(k);
        }
    }
}

// ---- Where the dose is that of the containing voxel ---------------------------------------------

void VoxelSearch::findVoxelRuns(int axis, LatticeInterval range)
{
    scratch_.voxelRuns[axis].referenceIndex = index_[axis];
    Room<VoxelRun>& runs = scratch_.voxelRuns[axis].runs;
    runs.count = 0;
    for (std::int32_t i = range.first; i <= range.last; ++i) {
        const AxisPoint p = locatePoint(axis, i);
        const VoxelRun* const last = runs.items + runs.count - 1;
        if (runs.count == 0 || last->point.zone != p.zone || last->point.voxel != p.voxel) {
            runs.items[runs.count++] = {i, i, i, p};
        }
        VoxelRun& run = runs.items[runs.count - 1];
        run.last = i;
        run.nearest = nearestToZero({run.first, run.last});
    }
}

/** The lattice points that are not between voxel centres on some axis. */
void VoxelSearch::searchVoxelwise()
{
    if (settled()) {
        return;
    }
    LatticeInterval range[3];
    bool allInterpolated = true;
    for (int a = 0; a < 3; ++a) {
        range[a] = common(sample_[a]->inside, reachOn(a));
        if (range[a].empty()) {
            return;
        }
        const LatticeInterval centre = common(sample_[a]->centre, range[a]);
        allInterpolated =
            allInterpolated && centre.first == range[a].first && centre.last == range[a].last;
    }
    if (allInterpolated) {
        return;
    }
    findVoxelRuns(0, range[0]);
    for (int a = 1; a < 3; ++a) {
        if (scratch_.voxelRuns[a].referenceIndex != index_[a]) {
            findVoxelRuns(a, common(sample_[a]->inside, {-pass_.outerIndex, pass_.outerIndex}));
        }
    }
    const float xNearest = squareOf(sample_[0]->nearest);
    const float yNearest = squareOf(sample_[1]->nearest);
    for (const VoxelRun& z : scratch_.voxelRuns[2].runs) {
        const float zNearest = squareOf(z.nearest) + xNearest;
        if (zNearest + yNearest > threshold_) {
            continue;
        }
        for (const VoxelRun& y : scratch_.voxelRuns[1].runs) {
            if (zNearest + squareOf(y.nearest) > threshold_) {
                continue;
            }
            for (const VoxelRun& x : scratch_.voxelRuns[0].runs) {
                considerVoxel(x, y, z);
            }
            if (settled()) {
                return;
            }
        }
    }
}

void VoxelSearch::considerVoxel(const VoxelRun& x, const VoxelRun& y, const VoxelRun& z)
{
    const float squared = squareOf(x.nearest) + squareOf(y.nearest) + squareOf(z.nearest);
    const bool interpolated = x.point.zone == Zone::centre && y.point.zone == Zone::centre &&
                              z.point.zone == Zone::centre;
    if (squared > threshold_ || squared > pass_.outerWhole || interpolated) {
        return;
    }
    const float dose = doseOf({x.point, y.point, z.point});
    const float u = (dose - referenceDose_) * scale_;
    if (u * u * (1 - 0x1p-19F) + squared > threshold_) {
        return;
    }
    // All points of the voxel have the same dose: the nearest one is enough.
    if (isMember(x.nearest, y.nearest, z.nearest)) {
        consider(dose, x.nearest, y.nearest, z.nearest);
    } else {
        considerVoxelRows(x, y, z, dose);
    }
}

/** Considers a voxel whose nearest lattice point is not in the shell, row by row. */
void VoxelSearch::considerVoxelRows(const VoxelRun& x, const VoxelRun& y, const VoxelRun& z,
                                    float dose)
{
    for (std::int32_t i = x.first; i <= x.last; ++i) {
        for (std::int32_t j = y.first; j <= y.last; ++j) {
            for (std::int32_t k = z.first; k <= z.last; ++k) {
                if (isMember(i, j, k)) {
                    consider(dose, i, j, k);
                }
            }
        }
    }
}

} // namespace

#endif
