import type { ComparisonRecord, Triple } from './record';

/** A measured point and what was found there. */
export interface MeasuredPoint {
    position: Triple;
    reference: number;
    /** Null: the evaluation has no dose there. */
    evaluation: number | null;
    /** -1: not tested. */
    gamma: number;
    passed: boolean;
}

/** The points of a comparison, for one of its criteria; null where it has a grid. */
export function pointsOf(record: ComparisonRecord, criterion: number): MeasuredPoint[] | null {
    const told = record.measurements?.reference;
    const { pointGammas, pointVerdicts } = record.criteria[criterion];
    if (!told?.points || !told.doses || !pointGammas || !pointVerdicts) {
        return null;
    }
    return told.points.map((position, i) => ({
        position,
        reference: told.doses?.[i] ?? NaN,
        evaluation: told.evaluationDoses?.[i] ?? null,
        gamma: pointGammas[i],
        passed: pointVerdicts[i] === 1,
    }));
}

/** A way to look at points: mm along the two axes of a picture. */
export interface Projection {
    name: string;
    horizontal: string;
    vertical: string;
    place(position: Triple): [across: number, up: number];
}

function along(direction: Triple, from: Triple): (position: Triple) => number {
    return (p) => direction.reduce((sum, d, a) => sum + d * (p[a] - from[a]), 0);
}

/** In their plane where they lie in one, else from the front, from above and from the left. */
export function projections(record: ComparisonRecord): Projection[] {
    const { plane } = record;
    if (plane) {
        const [right, up] = [along(plane.right, plane.at), along(plane.up, plane.at)];
        return [{
            name: plane.name,
            horizontal: 'across / mm',
            vertical: 'up / mm',
            place: (p) => [right(p), up(p)],
        }];
    }
    const view = (name: string, a: number, b: number, sign = 1): Projection => ({
        name,
        horizontal: `${'xyz'[a]} / mm`,
        vertical: `${'xyz'[b]} / mm`,
        place: (p) => [p[a], sign * p[b]],
    });
    if (record.searchSpace === 'points in a plane') {
        return [view('Plane', 0, 1)];
    }
    return [view('Coronal', 0, 2), view('Axial', 0, 1, -1), view('Sagittal', 1, 2)];
}
