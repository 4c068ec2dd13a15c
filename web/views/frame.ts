import type { Plane } from './axes';
import type { Grid } from './grid';
import type { Triple } from './record';

/** A box of voxels: first and last on each axis. */
export interface Box {
    from: Triple;
    to: Triple;
}

export function wholeGrid(grid: Grid): Box {
    return { from: [0, 0, 0], to: grid.size.map((n) => n - 1) as Triple };
}

/** The box with a margin in mm around it, as far as the grid reaches. */
export function widened(box: Box, grid: Grid, margin: number): Box {
    const voxels = grid.spacing.map((s) => Math.ceil(margin / s));
    return {
        from: grid.clamp(box.from.map((v, a) => v - voxels[a]) as Triple),
        to: grid.clamp(box.to.map((v, a) => v + voxels[a]) as Triple),
    };
}

/** How the voxels of a slice lie in its picture: columns to the right, rows downwards. */
export class Frame {
    readonly columns: number;
    readonly rows: number;
    /** CSS pixels. */
    width = 0;
    height = 0;

    constructor(
        private readonly grid: Grid,
        private readonly plane: Plane,
        private readonly box: Box,
    ) {
        const { horizontal, vertical } = plane;
        this.columns = box.to[horizontal] - box.from[horizontal] + 1;
        this.rows = box.to[vertical] - box.from[vertical] + 1;
    }

    /** mm of both sides of the picture. */
    get extent(): { width: number; height: number } {
        const { spacing } = this.grid;
        return {
            width: this.columns * spacing[this.plane.horizontal],
            height: this.rows * spacing[this.plane.vertical],
        };
    }

    /** Pixels of a position in columns and rows, whole numbers at the centres of voxels. */
    across(column: number): number {
        return ((column + 0.5) * this.width) / this.columns;
    }

    down(row: number): number {
        return ((row + 0.5) * this.height) / this.rows;
    }

    /** Pixels of a place given in mm along the axes of the picture. */
    place(horizontal: number, vertical: number): [x: number, y: number] {
        const { plane, box } = this;
        const index = (axis: number, mm: number) =>
            (mm - this.grid.origin[axis]) / this.grid.spacing[axis];
        const along = index(plane.horizontal, horizontal) - box.from[plane.horizontal];
        const across = index(plane.vertical, vertical);
        const row = plane.upwards
            ? box.to[plane.vertical] - across
            : across - box.from[plane.vertical];
        return [this.across(along), this.down(row)];
    }

    column(voxel: Triple): number {
        const { horizontal } = this.plane;
        return voxel[horizontal] - this.box.from[horizontal];
    }

    row(voxel: Triple): number {
        const { vertical, upwards } = this.plane;
        return upwards ? this.box.to[vertical] - voxel[vertical] : voxel[vertical] - this.box.from[vertical];
    }

    /** The voxel of a slice at a point of the picture, given as fractions of its sides. */
    voxelAt(slice: number, x: number, y: number): Triple {
        const { normal, horizontal, vertical, upwards } = this.plane;
        const row = Math.floor(y * this.rows);
        const voxel: Triple = [0, 0, 0];
        voxel[normal] = slice;
        voxel[horizontal] = this.box.from[horizontal] + Math.floor(x * this.columns);
        voxel[vertical] = upwards ? this.box.to[vertical] - row : this.box.from[vertical] + row;
        return this.grid.clamp(voxel);
    }

    /** Calls `take` with the voxels of a slice, row by row as they are drawn. */
    visit(slice: number, take: (index: number) => void): void {
        const { stride } = this.grid;
        const { normal, horizontal, vertical, upwards } = this.plane;
        const { from, to } = this.box;
        for (let row = 0; row < this.rows; ++row) {
            const v = upwards ? to[vertical] - row : from[vertical] + row;
            let index = slice * stride[normal] + v * stride[vertical] + from[horizontal] * stride[horizontal];
            for (let column = 0; column < this.columns; ++column) {
                take(index);
                index += stride[horizontal];
            }
        }
    }
}
