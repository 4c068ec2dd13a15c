/**
 * @file latticeCandidates.h
 * Good first values: the sooner a small gamma^2 is known, the less has to be looked at.
 *
 * Part of latticeSearchPath.h.
 */
#ifndef ZARNGI_LATTICECANDIDATES_H
#define ZARNGI_LATTICECANDIDATES_H

#include "latticeSearchPath.h"

namespace
{

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

} // namespace

#endif
