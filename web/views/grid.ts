import type { GridRecord, Triple } from './record';

/** A regular grid: voxel (i, j, k) is element i + nx·(j + ny·k), its dose belongs to its centre. */
export class Grid {
    readonly size: Triple;
    /** mm; across a plane without a thickness 1, as anything would do. */
    readonly spacing: Triple;
    readonly origin: Triple;
    readonly count: number;
    readonly stride: Triple;

    constructor(record: GridRecord) {
        this.size = record.size;
        this.spacing = record.spacing.map((mm) => mm ?? 1) as Triple;
        this.origin = record.origin;
        this.count = record.size[0] * record.size[1] * record.size[2];
        this.stride = [1, record.size[0], record.size[0] * record.size[1]];
    }

    index(voxel: Triple): number {
        return voxel[0] + this.stride[1] * voxel[1] + this.stride[2] * voxel[2];
    }

    voxel(index: number): Triple {
        const inPlane = index % this.stride[2];
        return [
            inPlane % this.stride[1],
            Math.floor(inPlane / this.stride[1]),
            Math.floor(index / this.stride[2]),
        ];
    }

    /** mm, centre of a voxel on one axis. */
    coordinate(axis: number, voxel: number): number {
        return this.origin[axis] + voxel * this.spacing[axis];
    }

    position(voxel: Triple): Triple {
        return [0, 1, 2].map((a) => this.coordinate(a, voxel[a])) as Triple;
    }

    /** mm, from face to face. */
    extent(axis: number): number {
        return this.size[axis] * this.spacing[axis];
    }

    clamp(voxel: Triple): Triple {
        return voxel.map((v, a) => Math.min(Math.max(v, 0), this.size[a] - 1)) as Triple;
    }

    /** True when the voxels of both grids coincide to a thousandth of a voxel. */
    sameAs(other: Grid): boolean {
        return [0, 1, 2].every((a) => {
            const last = this.size[a] - 1;
            const tolerance = 1e-3 * this.spacing[a];
            return (
                this.size[a] === other.size[a] &&
                Math.abs(this.coordinate(a, 0) - other.coordinate(a, 0)) < tolerance &&
                Math.abs(this.coordinate(a, last) - other.coordinate(a, last)) < tolerance
            );
        });
    }
}
