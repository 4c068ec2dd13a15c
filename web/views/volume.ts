import { notFinite, type StoredVolume } from './comparison';
import { Grid } from './grid';
import { Pieces } from './pieces';
import type { Triple } from './record';

/** A quantity on a grid, NaN where there is none. */
export interface Field {
    readonly grid: Grid;
    readonly decimals: number;
    value(index: number): number;
}

/** A volume as it is stored, on its grid. */
export class Volume implements Field {
    readonly decimals: number;
    readonly data: Int16Array;
    /** Stored units per unit of the quantity. */
    readonly perUnit: number;

    constructor(
        readonly grid: Grid,
        stored: StoredVolume,
    ) {
        this.decimals = stored.decimals;
        this.data = stored.values;
        this.perUnit = 10 ** stored.decimals;
    }

    value(index: number): number {
        const stored = this.data[index];
        return stored === notFinite ? NaN : stored / this.perUnit;
    }
}

/** A dose brought to the voxels of another grid; NaN outside its own grid. */
export class ResampledField implements Field {
    readonly decimals: number;

    private constructor(
        readonly grid: Grid,
        private readonly data: Float32Array,
        source: Field,
    ) {
        this.decimals = source.decimals;
    }

    static async of(source: Field, grid: Grid): Promise<ResampledField> {
        return new ResampledField(grid, await resample(source, grid), source);
    }

    value(index: number): number {
        return this.data[index];
    }
}

async function resample(source: Field, grid: Grid): Promise<Float32Array> {
    const pieces = new Pieces();
    const data = new Float32Array(grid.count);
    const [nx, ny, nz] = grid.size;
    let index = 0;
    for (let k = 0; k < nz; ++k) {
        for (let j = 0; j < ny; ++j) {
            for (let i = 0; i < nx; ++i) {
                data[index++] = sample(source, grid.position([i, j, k]));
            }
            if (pieces.isDue()) {
                await pieces.rest();
            }
        }
    }
    return data;
}

/**
 * The dose at a point as the computation reads it: trilinear between voxel centres, that of the
 * containing voxel in the outer half voxel; NaN outside the grid.
 */
export function sample(field: Field, point: Triple): number {
    const { grid } = field;
    const lower: Triple = [0, 0, 0];
    const fraction: Triple = [0, 0, 0];
    let nearest = false;
    for (let a = 0; a < 3; ++a) {
        const f = (point[a] - grid.origin[a]) / grid.spacing[a];
        const last = grid.size[a] - 1;
        if (!(f > -0.5 && f < last + 0.5)) {
            return NaN;
        }
        nearest ||= f < 0 || f > last;
        lower[a] = Math.min(Math.max(Math.floor(f), 0), Math.max(last - 1, 0));
        fraction[a] = last === 0 ? 0 : f - lower[a];
    }
    if (nearest) {
        const voxel = grid.clamp(lower.map((l, a) => Math.round(l + fraction[a])) as Triple);
        return field.value(grid.index(voxel));
    }
    return trilinear(field, lower, fraction);
}

function trilinear(field: Field, lower: Triple, fraction: Triple): number {
    const { grid } = field;
    const base = grid.index(lower);
    let sum = 0;
    for (let corner = 0; corner < 8; ++corner) {
        let weight = 1;
        let index = base;
        for (let a = 0; a < 3; ++a) {
            const upper = (corner >> a) & 1;
            weight *= upper ? fraction[a] : 1 - fraction[a];
            index += upper * grid.stride[a];
        }
        // A weight of 0 also keeps out the missing neighbour of a single voxel.
        if (weight > 0) {
            sum += weight * field.value(index);
        }
    }
    return sum;
}
