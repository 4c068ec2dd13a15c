/**
 * @file radiusGaps.h
 * Which radii of the lattice are searched without leaving out a point.
 */
#ifndef ZARNGI_LATTICE_RADIUSGAPS_H
#define ZARNGI_LATTICE_RADIUSGAPS_H

#include <cstdint>

#include "shellLattice.h"

namespace zarngi::engine
{

/** Radius in steps up to which the rounding of the enumeration is accounted for. */
constexpr std::int64_t largestProvenRadius = 1024;

/**
 * Up to which squared radius, in steps, a shell and the earlier ones hold every lattice point that
 * does not lie in a gap of an earlier one.
 *
 * A point within outer = trunc(rmax / step) whole steps satisfies the loop bounds of the
 * enumeration: those are integers within a rounding error of sqrt(outer^2 - ...), to which 0.5 is
 * added. The rounding of the squared perpendicular radius to float stays below 0.25 for radii up to
 * 1024 steps (1024^2 * 2^-22); beyond that nothing is promised.
 */
std::int64_t wholeSquaredRadius(const ShellLattice& shell);

/**
 * A squared radius in whole steps that no point of the shell or of an earlier one exceeds.
 *
 * Where the radius is not a whole number of steps, the loop bounds end nearer than the radius: with
 * M whole steps, k <= sqrt(M^2 - i^2 - j^2) + 0.5, hence i^2 + j^2 + k^2 <= M^2 + M + 1, and the
 * same for j where k is 0. The last one has a margin for the rounding of squares, for radii up to
 * largestProvenRadius.
 */
float wholeRim(const ShellLattice& shell);

/** Squared radii, in steps, of points that a shell may leave out: beyond `after`, up to `upTo`. */
struct RadiusGap {
    float after;
    float upTo;
};

/** The gaps of the shells so far: single ones, or larger ones around several. */
class RadiusGaps
{
public:
    /** Adds that of the next shell, if it has one. */
    void add(const ShellLattice& shell);

    [[nodiscard]] const RadiusGap* begin() const { return gaps_; }
    [[nodiscard]] const RadiusGap* end() const { return gaps_ + count_; }

private:
    static constexpr int maxCount = 4; // every point that is tested is compared with each
    RadiusGap gaps_[maxCount] = {};
    int count_ = 0;
};

} // namespace zarngi::engine

#endif
