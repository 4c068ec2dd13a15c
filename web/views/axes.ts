import type { ComparisonRecord, Role, Triple } from './record';

/** The two ends of an axis as letters: towards smaller and towards larger coordinates. */
export interface AxisEnds {
    low: string;
    high: string;
}

const opposite: Record<string, string> = { L: 'R', R: 'L', P: 'A', A: 'P', S: 'I', I: 'S' };
export const axisNames = ['x', 'y', 'z'];

export function axisEnds(record: ComparisonRecord, axis: number): AxisEnds {
    const letter = record.orientation?.[axis]?.toUpperCase() ?? '';
    if (letter in opposite) {
        return { low: opposite[letter], high: letter };
    }
    return { low: `\u2212${axisNames[axis]}`, high: `+${axisNames[axis]}` };
}

/** One of the three slice views. */
export interface Plane {
    id: string;
    name: string;
    normal: number;
    horizontal: number;
    vertical: number;
    /** True: larger coordinates are drawn higher up. */
    upwards: boolean;
}

/** Seen as on a light box: from the feet, from the front, from the left. */
export function planes(record: ComparisonRecord): Plane[] {
    const known = record.orientation?.toUpperCase() === 'LPS';
    const name = (anatomical: string, axes: string) => (known ? anatomical : axes);
    return [
        { id: 'axial', name: name('Axial', 'xy'), normal: 2, horizontal: 0, vertical: 1, upwards: false },
        { id: 'coronal', name: name('Coronal', 'xz'), normal: 1, horizontal: 0, vertical: 2, upwards: true },
        { id: 'sagittal', name: name('Sagittal', 'yz'), normal: 0, horizontal: 1, vertical: 2, upwards: true },
    ];
}

/** The views that show a comparison: of a plane its own alone. */
export function shownPlanes(record: ComparisonRecord): Plane[] {
    if (record.searchSpace === 'plane') {
        return [{ id: 'axial', name: 'Plane', normal: 2, horizontal: 0, vertical: 1, upwards: true }];
    }
    const all = planes(record);
    const isPlane = record.measurements?.reference?.kind === 'plane';
    const { size } = record.grids.reference;
    return isPlane ? all.filter(({ normal }) => size[normal] === 1) : all;
}

/** The axes along which a dose has more than a place: two of a plane. */
export function longAxes(record: ComparisonRecord, role: Role = 'reference'): number[] {
    const isPlane = record.measurements?.[role]?.kind === 'plane';
    return [0, 1, 2].filter((axis) => !isPlane || record.grids[role].size[axis] > 1);
}

/** Moves a voxel along one axis. */
export function moved(voxel: Triple, axis: number, to: number): Triple {
    const result: Triple = [...voxel];
    result[axis] = to;
    return result;
}
