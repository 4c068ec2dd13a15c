/**
 * @file doseRanges.h
 * The ranges of the doses around cells, row by row of a chunk.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_DOSERANGES_H
#define ZARNGI_LATTICE_STAGES_DOSERANGES_H

#include <cstddef>
#include <cstdint>

#include "gridAxis.h"
#include "lanes/lanes.h"
#include "lattice/intervals.h"
#include "lattice/pass.h"
#include "lattice/scratch.h"
#include "lattice/stages/cellChunk.h"

namespace zarngi::engine
{

namespace
{

/** Doses of a row of cells in so many vectors, kept in registers. */
template <std::size_t vectors> struct KeptRow {
    Lanes::F doses[vectors];

    [[nodiscard]] static int count(int /*used*/) { return vectors; }
    void set(int vector, Lanes::F value) { doses[vector] = value; }
    /** The doses of the cells at places. */
    [[nodiscard]] Lanes::F at(Lanes::I places) const { return Lanes::spreadFrom(doses, places); }
};

/** Doses of a row of cells in memory, where there may be too many for registers. */
struct StoredRow {
    // Voxels with fewer cells than others are asked for some beyond theirs.
    alignas(64) float doses[2 * CellChunk::maxCells];

    [[nodiscard]] static int count(int used) { return used; }
    void set(int vector, Lanes::F value) { Lanes::store(doses + vector * Lanes::width, value); }
    [[nodiscard]] Lanes::F at(Lanes::I places) const { return Lanes::gather(doses, places); }
};

/** The least and the largest dose of the voxels around each cell of a plane of a chunk. */
class DoseRanges
{
public:
    explicit DoseRanges(const SearchPass& pass) : pass_(pass) {}

    void takeUp(const CellChunk& chunk, const CellRun& zCell, CellSpan rows);
    template <class Row> void find(std::int32_t row, Row& least, Row& most) const;

private:
    using F = Lanes::F;
    static constexpr int maxCells = CellChunk::maxCells;

    const SearchPass& pass_;
    int vectors_ = 0; ///< that hold the cells along x
    /** Least and largest doses, Gy, around the cells along x and z, by rows of voxels along y. */
    alignas(64) float rows_[maxCells + 1][2][maxCells];
};

/** Least and largest dose of the four voxels around each cell in x and z, row by row. */
void DoseRanges::takeUp(const CellChunk& chunk, const CellRun& zCell, CellSpan rows)
{
    vectors_ = chunk.vectors;
    const int* const n = pass_.evaluation.n;
    const int right = n[0] > 1 ? 1 : 0;
    const std::int32_t end = rows.last + (n[1] > 1 ? 1 : 0);
    const int first = voxelIndex(n, chunk.span[0].first, chunk.span[1].first, 0);
    const float* const lowerPlane = pass_.evaluation.map + first + voxelIndex(n, 0, 0, zCell.lower);
    const float* const upperPlane = pass_.evaluation.map + first + voxelIndex(n, 0, 0, zCell.upper);
    for (std::int32_t row = rows.first; row <= end; ++row) {
        const float* const p = lowerPlane + n[0] * row;
        const float* const q = upperPlane + n[0] * row;
        for (std::int32_t c = 0; c < vectors_ * Lanes::width; c += Lanes::width) {
            const F a = Lanes::load(p + c);
            const F b = Lanes::load(p + c + right);
            const F e = Lanes::load(q + c);
            const F f = Lanes::load(q + c + right);
            Lanes::store(rows_[row][0] + c, Lanes::min(Lanes::min(a, b), Lanes::min(e, f)));
            Lanes::store(rows_[row][1] + c, Lanes::max(Lanes::max(a, b), Lanes::max(e, f)));
        }
    }
}

/** The range of the doses around the cells between a row of voxels and the next one. */
template <class Row> inline void DoseRanges::find(std::int32_t row, Row& least, Row& most) const
{
    const std::int32_t upper = row + (pass_.evaluation.n[1] > 1 ? 1 : 0);
    for (int v = 0; v < Row::count(vectors_); ++v) {
        // Vectors that hold no cell repeat the last one.
        const int c = smaller(v, vectors_ - 1) * Lanes::width;
        least.set(v, Lanes::min(Lanes::load(rows_[row][0] + c), Lanes::load(rows_[upper][0] + c)));
        most.set(v, Lanes::max(Lanes::load(rows_[row][1] + c), Lanes::load(rows_[upper][1] + c)));
    }
}

} // namespace

} // namespace zarngi::engine

#endif
