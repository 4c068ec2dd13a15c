import { notTested, type StoredVolume } from './comparison';
import type { Grid } from './grid';
import { inPieces } from './pieces';

/** Rows that are gone through without a look at the clock. */
const rowsAtOnce = 256;

/**
 * Gamma on a grid. Mostly few voxels are tested: of each row along x, what lies between the first
 * tested voxel and the last one is kept.
 */
export class GammaMap {
    readonly decimals: number;
    /** Stored units per unit of gamma. */
    readonly perUnit: number;

    private constructor(
        readonly grid: Grid,
        decimals: number,
        /** Of each row, in the index of the grid: its first tested voxel, and the one behind its last. */
        private readonly from: Int32Array,
        private readonly to: Int32Array,
        /** Of each row, where its values begin. */
        private readonly start: Int32Array,
        private readonly values: Int16Array,
    ) {
        this.decimals = decimals;
        this.perUnit = 10 ** decimals;
    }

    /** @param stored whole, on this grid */
    static async of(grid: Grid, { decimals, values }: StoredVolume): Promise<GammaMap> {
        const long = grid.size[0];
        const rows: number[] = [];
        let kept = 0;
        await inPieces(grid.count / long, (begin, end) => {
            for (let row = begin; row < end; ++row) {
                let first = row * long;
                let behind = first + long;
                while (first < behind && values[first] === notTested) {
                    ++first;
                }
                while (behind > first && values[behind - 1] === notTested) {
                    --behind;
                }
                if (first < behind) {
                    rows.push(first, behind - first);
                    kept += behind - first;
                }
            }
        }, rowsAtOnce);
        const packed = new Int16Array(kept);
        let place = 0;
        for (let row = 0; row < rows.length; row += 2) {
            packed.set(values.subarray(rows[row], rows[row] + rows[row + 1]), place);
            place += rows[row + 1];
        }
        return GammaMap.ofRows(grid, decimals, Int32Array.from(rows), packed);
    }

    /**
     * @param rows of each row that has tested voxels: the first one, and how many voxels are kept
     * @param values of the voxels that are kept
     */
    static ofRows(grid: Grid, decimals: number, rows: Int32Array, values: Int16Array): GammaMap {
        const long = grid.size[0];
        const count = grid.count / long;
        const [from, to, start] = [new Int32Array(count), new Int32Array(count), new Int32Array(count)];
        let kept = 0;
        let next = 0;
        for (let row = 0; row < count; ++row) {
            const isKept = next < rows.length && rows[next] < (row + 1) * long;
            start[row] = kept;
            from[row] = isKept ? rows[next] : row * long;
            to[row] = from[row] + (isKept ? rows[next + 1] : 0);
            kept += to[row] - from[row];
            next += isKept ? 2 : 0;
        }
        return new GammaMap(grid, decimals, from, to, start, values);
    }

    /** Places that are kept, the tested voxels among them. */
    get places(): number {
        return this.values.length;
    }

    /** Where a voxel is kept; -1 where it is not, and was not tested. */
    place(index: number): number {
        const row = Math.floor(index / this.grid.size[0]);
        return index >= this.from[row] && index < this.to[row] ? this.start[row] + index - this.from[row] : -1;
    }

    /** The voxel of a place. */
    indexAt(place: number): number {
        let row = 0;
        for (let behind = this.start.length; behind - row > 1; ) {
            const middle = (row + behind) >> 1;
            [row, behind] = this.start[middle] <= place ? [middle, behind] : [row, middle];
        }
        return this.from[row] + place - this.start[row];
    }

    /** As it is stored, notTested among them. */
    stored(index: number): number {
        const place = this.place(index);
        return place < 0 ? notTested : this.values[place];
    }

    isTested(index: number): boolean {
        return this.stored(index) !== notTested;
    }

    hasFailed(index: number): boolean {
        return this.stored(index) > this.perUnit;
    }

    /** Of a tested voxel. */
    value(index: number): number {
        return this.stored(index) / this.perUnit;
    }

    /** Visits the rows that have tested voxels, with the first and the last of these. */
    async visitRows(visit: (first: number, last: number) => void): Promise<void> {
        await inPieces(this.start.length, (begin, end) => {
            for (let row = begin; row < end; ++row) {
                if (this.from[row] < this.to[row]) {
                    visit(this.from[row], this.to[row] - 1);
                }
            }
        }, rowsAtOnce);
    }

    /** Visits the tested voxels in the order of their index, with what is stored and where. */
    async visitTested(visit: (index: number, stored: number, place: number) => void): Promise<void> {
        await inPieces(this.start.length, (begin, end) => {
            for (let row = begin; row < end; ++row) {
                const before = this.start[row] - this.from[row];
                for (let index = this.from[row]; index < this.to[row]; ++index) {
                    const stored = this.values[before + index];
                    if (stored !== notTested) {
                        visit(index, stored, before + index);
                    }
                }
            }
        }, rowsAtOnce);
    }
}
