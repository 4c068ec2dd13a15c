import type { GammaMap } from './gammaMap';
import type { Model } from './model';
import { Pieces } from './pieces';
import type { Triple } from './record';

/** A connected region of failing voxels; voxels that share a face are connected. */
export interface Cluster {
    voxels: number;
    /** First and last voxel on each axis. */
    from: Triple;
    to: Triple;
    maxGamma: number;
    /** Voxel of the largest gamma. */
    peak: Triple;
    /** Mean of evaluation minus reference, dose units. */
    meanDifference: number;
}

/** All clusters of failing voxels, the largest first. */
export async function findClusters(model: Model, gamma: GammaMap): Promise<Cluster[]> {
    const pieces = new Pieces();
    const open = new Uint8Array(gamma.places);
    await gamma.visitTested((_, stored, place) => {
        open[place] = stored > gamma.perUnit ? 1 : 0;
    });
    const clusters: Cluster[] = [];
    for (let seed = open.indexOf(1); seed >= 0; seed = open.indexOf(1, seed + 1)) {
        const members = await collect(gamma, open, gamma.indexAt(seed), pieces);
        clusters.push(await describe(model, gamma, members, pieces));
    }
    return clusters.sort((a, b) => b.voxels - a.voxels || b.maxGamma - a.maxGamma);
}

/** Takes the voxels connected with `seed` out of `open`. */
async function collect(gamma: GammaMap, open: Uint8Array, seed: number, pieces: Pieces): Promise<number[]> {
    const { grid } = gamma;
    const { size, stride } = grid;
    const members: number[] = [];
    const take = (index: number): void => {
        const place = gamma.place(index);
        if (place >= 0 && open[place]) {
            open[place] = 0;
            members.push(index);
        }
    };
    take(seed);
    for (let next = 0; next < members.length; ++next) {
        if (pieces.isDue()) {
            await pieces.rest();
        }
        const index = members[next];
        const voxel = grid.voxel(index);
        for (let a = 0; a < 3; ++a) {
            if (voxel[a] > 0) {
                take(index - stride[a]);
            }
            if (voxel[a] < size[a] - 1) {
                take(index + stride[a]);
            }
        }
    }
    return members;
}

async function describe(
    model: Model,
    gamma: GammaMap,
    members: number[],
    pieces: Pieces,
): Promise<Cluster> {
    const from: Triple = [Infinity, Infinity, Infinity];
    const to: Triple = [-1, -1, -1];
    let peak = members[0];
    let highest = gamma.stored(peak);
    let difference = 0;
    let compared = 0;
    for (const index of members) {
        if (pieces.isDue()) {
            await pieces.rest();
        }
        const voxel = model.grid.voxel(index);
        for (let a = 0; a < 3; ++a) {
            from[a] = Math.min(from[a], voxel[a]);
            to[a] = Math.max(to[a], voxel[a]);
        }
        // Of equal peaks the first in the map counts, whatever way the search took.
        const stored = gamma.stored(index);
        if (stored > highest || (stored === highest && index < peak)) {
            peak = index;
            highest = stored;
        }
        const d = model.difference(index);
        if (!Number.isNaN(d)) {
            difference += d;
            ++compared;
        }
    }
    return {
        voxels: members.length,
        from,
        to,
        maxGamma: gamma.value(peak),
        peak: model.grid.voxel(peak),
        meanDifference: difference / compared,
    };
}
