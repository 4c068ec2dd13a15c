import type { ComparisonData, StructureShape } from './comparison';
import type { Grid } from './grid';
import { Pieces } from './pieces';

/** mm. */
export interface Contour {
    z: number;
    /** x and y of each vertex. */
    points: number[];
}

/** A structure: its voxels, and its contours where its file has them. */
export class Shape {
    readonly contours: Contour[];
    readonly runs: Int32Array;
    private readonly heights: number[];
    private readonly slices = new Set<number>();

    constructor({ runs, contours }: StructureShape) {
        this.runs = runs;
        this.contours = contours ? listed(contours) : [];
        this.heights = [...new Set(this.contours.map((c) => c.z))].sort((a, b) => a - b);
        for (let i = 0; i < runs.length; i += 4) {
            this.slices.add(runs[i]);
        }
    }

    /** The contours that count in an axial slice: those of the nearest plane, of two the upper one. */
    contoursAt(grid: Grid, slice: number): Contour[] {
        const z = grid.coordinate(2, slice);
        let nearest = NaN;
        for (const height of this.heights) {
            if (!(Math.abs(height - z) > Math.abs(nearest - z))) {
                nearest = height;
            }
        }
        // A structure between the slices of the grid has no voxel, but is not hidden.
        const isThere = this.slices.has(slice) || this.isBetween(nearest - z, grid.spacing[2] / 2);
        return isThere ? this.contours.filter((c) => c.z === nearest) : [];
    }

    private isBetween(distance: number, half: number): boolean {
        return this.slices.size === 0 && distance > -half && distance <= half;
    }

    /** Calls `take` with the index of each of its voxels. */
    visit(grid: Grid, take: (index: number) => void): void {
        for (let i = 0; i < this.runs.length; i += 4) {
            const row = this.runs[i] * grid.stride[2] + this.runs[i + 1] * grid.stride[1];
            for (let x = this.runs[i + 2]; x < this.runs[i + 3]; ++x) {
                take(row + x);
            }
        }
    }
}

function listed(stored: Int32Array): Contour[] {
    const contours: Contour[] = [];
    const perMm = 1000;
    for (let i = 0; i < stored.length; i += 2 + 2 * stored[i]) {
        const points = summed(stored.subarray(i + 2, i + 2 + 2 * stored[i])).map((v) => v / perMm);
        contours.push({ z: stored[i + 1] / perMm, points });
    }
    return contours;
}

/** Each pair of numbers is told less the one before. */
function summed(differences: Int32Array): number[] {
    const sums: number[] = [];
    differences.forEach((difference, i) => sums.push(difference + (sums[i - 2] ?? 0)));
    return sums;
}

/** The shapes of all structures, as they come. */
export class StructureShapes {
    private readonly shapes: Shape[] = [];

    constructor(
        private readonly data: ComparisonData,
        readonly count: number,
    ) {}

    async load(): Promise<void> {
        const pieces = new Pieces();
        for (let i = 0; i < this.count; ++i) {
            const shape = await this.data.structure?.(i);
            if (!shape) {
                throw new Error('The structures of this comparison are missing.');
            }
            this.shapes[i] = new Shape(shape);
            if (pieces.isDue()) {
                await pieces.rest();
            }
        }
    }

    shape(index: number): Shape | undefined {
        return this.shapes[index];
    }

    /** Calls `take` with each voxel of a part: of a structure, or of those in none of them. */
    visitPart(grid: Grid, part: number, take: (index: number) => void): void {
        if (part < this.count) {
            this.shapes[part]?.visit(grid, take);
            return;
        }
        const isInside = new Uint8Array(grid.count);
        this.shapes.forEach((shape) => shape.visit(grid, (index) => (isInside[index] = 1)));
        for (let index = 0; index < isInside.length; ++index) {
            if (isInside[index] === 0) {
                take(index);
            }
        }
    }
}
