import { Grid } from './grid';
import type { Triple, VolumeRecord } from './record';

const notFinite = -32768;

/** Stored gamma of a voxel that was not tested. */
export const notTested = -1;
/** Stored gamma at and above which only "at least" is known. */
export const gammaOverflow = 32767;

/** A quantity on a grid, NaN where there is none. */
export interface Field {
    readonly grid: Grid;
    readonly decimals: number;
    value(index: number): number;
}

/** Whole numbers times a power of ten, as they are stored in the page. */
export class Volume implements Field {
    readonly decimals: number;
    /** Stored units per unit of the quantity. */
    readonly perUnit: number;

    constructor(
        readonly grid: Grid,
        readonly data: Int16Array,
        record: VolumeRecord,
    ) {
        this.decimals = record.decimals;
        this.perUnit = 10 ** record.decimals;
    }

    value(index: number): number {
        const stored = this.data[index];
        return stored === notFinite ? NaN : stored / this.perUnit;
    }
}

/** A dose brought to the voxels of another grid; NaN outside its own grid. */
export class ResampledField implements Field {
    readonly decimals: number;
    private readonly data: Float32Array;

    constructor(
        source: Field,
        readonly grid: Grid,
    ) {
        this.decimals = source.decimals;
        this.data = resample(source, grid);
    }

    value(index: number): number {
        return this.data[index];
    }
}

function resample(source: Field, grid: Grid): Float32Array {
    const data = new Float32Array(grid.count);
    const [nx, ny, nz] = grid.size;
    let index = 0;
    for (let k = 0; k < nz; ++k) {
        for (let j = 0; j < ny; ++j) {
            for (let i = 0; i < nx; ++i) {
                data[index++] = sample(source, grid.position([i, j, k]));
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

/** Decodes the volume stored in the page under this name. */
export async function decodeVolume(record: VolumeRecord, grid: Grid): Promise<Volume> {
    if (record.type !== 'int16' || record.encoding !== 'shuffle+zlib+base64') {
        throw new Error(`The volume "${record.name}" is encoded in a way this page cannot read.`);
    }
    const element = document.getElementById(`volume-${record.name}`);
    if (!element) {
        throw new Error(`The volume "${record.name}" is missing in this page.`);
    }
    const bytes = await inflate(fromBase64(element.textContent ?? ''));
    if (bytes.length !== 2 * grid.count) {
        throw new Error(`The volume "${record.name}" does not fit its grid.`);
    }
    return new Volume(grid, unshuffle(bytes), record);
}

function fromBase64(text: string): Uint8Array<ArrayBuffer> {
    const native = (Uint8Array as unknown as { fromBase64?: (t: string) => Uint8Array<ArrayBuffer> })
        .fromBase64;
    if (native) {
        return native(text);
    }
    const binary = atob(text);
    const bytes = new Uint8Array(binary.length);
    for (let i = 0; i < binary.length; ++i) {
        bytes[i] = binary.charCodeAt(i);
    }
    return bytes;
}

async function inflate(bytes: Uint8Array<ArrayBuffer>): Promise<Uint8Array> {
    const stream = new Blob([bytes]).stream().pipeThrough(new DecompressionStream('deflate'));
    return new Uint8Array(await new Response(stream).arrayBuffer());
}

function unshuffle(bytes: Uint8Array): Int16Array {
    const count = bytes.length / 2;
    const values = new Int16Array(count);
    for (let i = 0; i < count; ++i) {
        values[i] = bytes[i] | (bytes[count + i] << 8);
    }
    return values;
}
