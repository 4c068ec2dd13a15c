// What a page must show, worked out from its data in the plainest way.
export function voxelOf(grid, index) {
    const [nx, ny] = grid.size;
    return [index % nx, Math.floor(index / nx) % ny, Math.floor(index / (nx * ny))];
}

export function indexOf(grid, [i, j, k]) {
    return i + grid.size[0] * (j + grid.size[1] * k);
}

export function positionOf(grid, voxel) {
    return voxel.map((v, a) => grid.origin[a] + v * grid.spacing[a]);
}

export function indexOfLargest(values) {
    return values.reduce((best, value, index) => (value > values[best] ? index : best), 0);
}

/** Trilinear between centres, the containing voxel in the outer half voxel, NaN outside. */
export function doseAt(grid, stored, point) {
    const f = point.map((p, a) => (p - grid.origin[a]) / grid.spacing[a]);
    const last = grid.size.map((n) => n - 1);
    if (f.some((v, a) => v <= -0.5 || v >= last[a] + 0.5)) {
        return NaN;
    }
    if (f.some((v, a) => v < 0 || v > last[a])) {
        return stored[indexOf(grid, f.map((v, a) => Math.min(Math.max(Math.round(v), 0), last[a])))];
    }
    let sum = 0;
    for (const di of [0, 1]) {
        for (const dj of [0, 1]) {
            for (const dk of [0, 1]) {
                const corner = [di, dj, dk].map((d, a) => Math.min(Math.floor(f[a]) + d, last[a]));
                const weights = [di, dj, dk].map((d, a) => (d ? f[a] % 1 : 1 - (f[a] % 1)));
                sum += weights[0] * weights[1] * weights[2] * stored[indexOf(grid, corner)];
            }
        }
    }
    return sum;
}

/** Face-connected regions of failing voxels, by spreading the lowest index until nothing changes. */
export function clustersOf(grid, gamma) {
    const labels = new Map();
    gamma.forEach((g, index) => {
        if (g > 1000) {
            labels.set(index, index);
        }
    });
    const strides = [1, grid.size[0], grid.size[0] * grid.size[1]];
    for (let changed = true; changed; ) {
        changed = false;
        for (const [index, label] of labels) {
            const voxel = voxelOf(grid, index);
            strides.forEach((stride, a) => {
                const neighbour = labels.get(index + stride);
                if (voxel[a] < grid.size[a] - 1 && neighbour !== undefined && neighbour !== label) {
                    const lower = Math.min(labels.get(index), neighbour);
                    labels.set(index, lower);
                    labels.set(index + stride, lower);
                    changed = true;
                }
            });
        }
    }
    const clusters = new Map();
    for (const [index, label] of [...labels].sort((a, b) => a[0] - b[0])) {
        const cluster = clusters.get(label) ?? { voxels: 0, peak: index };
        ++cluster.voxels;
        cluster.peak = gamma[index] > gamma[cluster.peak] ? index : cluster.peak;
        clusters.set(label, cluster);
    }
    return [...clusters.values()].sort(
        (a, b) => b.voxels - a.voxels || gamma[b.peak] - gamma[a.peak],
    );
}

/** Tested voxels per band of 10 % of the normalisation dose, the upper ends included, by its start. */
export function bandsOf(criterion, reference, gamma, unit) {
    const bands = new Map();
    gamma.forEach((g, i) => {
        if (g >= 0) {
            let from = Math.floor(criterion.cutoffPercent / 10) * 10;
            const end = () => Math.round(((from + 10) * criterion.normalisationDose * unit) / 100);
            while (from < 110 && reference[i] > end()) {
                from += 10;
            }
            const band = bands.get(from) ?? { tested: 0, failed: 0 };
            band.tested += 1;
            band.failed += g > 1000 ? 1 : 0;
            bands.set(from, band);
        }
    });
    return bands;
}
