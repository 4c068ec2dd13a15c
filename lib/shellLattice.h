/**
 * @file shellLattice.h
 * Which points of the search lattice belong to a spherical shell, as bounds per lattice row.
 */
#ifndef ZARNGI_SHELLLATTICE_H
#define ZARNGI_SHELLLATTICE_H

#include <cstdint>

namespace zarngi::engine
{

/** A range of lattice indices, both ends included; empty when first > last. */
struct LatticeRange {
    std::int64_t first;
    std::int64_t last;
};

/**
 * The enumeration of one shell in the first octant: rows (i, j) with their range of k.
 *
 * Squared radii are compared as floats. For squared radii above 2^24 that merges neighbouring
 * integers, but always in the same way, so no point belongs to two shells.
 */
class ShellLattice
{
public:
    ShellLattice(float rmin, float rmax, float stepSize);

    /** Whether the shell holds the origin. */
    [[nodiscard]] bool holdsOrigin() const { return holdsOrigin_; }
    /** Largest lattice index on any axis. */
    [[nodiscard]] std::int64_t maxIndex() const { return outerSteps_; }
    /** Outer squared radius in lattice units: no point of the shell has a larger one. */
    [[nodiscard]] float outerRadiusSquared() const { return rsqmax_; }
    /** Inner squared radius in lattice units: every point but the origin has a larger one. */
    [[nodiscard]] float innerRadiusSquared() const { return rsqmin_; }

    /** Largest j of the rows (i, j), for 0 <= i <= maxIndex(). */
    [[nodiscard]] std::int64_t maxRow(std::int64_t i) const;
    /** The k >= 0 of the row (i, j), for 0 <= j <= maxRow(i); the origin is not among them. */
    [[nodiscard]] LatticeRange row(std::int64_t i, std::int64_t j) const;

private:
    std::int64_t innerSteps_;
    std::int64_t outerSteps_;
    float rsqmin_;
    float rsqmax_;
    bool holdsOrigin_;
};

} // namespace zarngi::engine

#endif
