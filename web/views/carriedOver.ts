import { Grid } from './grid';
import { nameOfCriterion } from './judged';
import type { ComparisonRecord, Triple } from './record';
import type { Layer, State } from './store';

/** A comparison that was shown, and how. */
export interface Shown {
    readonly record: ComparisonRecord;
    readonly state: State;
}

/** What of the state still makes sense for another comparison: it is looked at in the same way. */
export function carriedOver({ record: from, state }: Shown, to: ComparisonRecord): Partial<State> {
    const { differenceWindow, gammaWindow, uncertaintyWindow, isodoses, crosshair, smooth, wholeGrid, gammaVolume } = state;
    const windows = { differenceWindow, gammaWindow, uncertaintyWindow };
    const layer: Layer = state.layer === 'uncertainties' && !to.noise ? 'difference' : state.layer;
    const options = { layer, ...windows, isodoses, crosshair, smooth, wholeGrid, gammaVolume };
    const hasSameDoses = fingerprint(from) === fingerprint(to);
    return {
        ...options,
        criterion: sameCriterion(from, to, state.criterion),
        ...(hasSameDoses ? { doseWindow: state.doseWindow, ...place(state.cross, from, to) } : {}),
        ...structuresOf(from, to, state),
    };
}

function fingerprint({ files }: ComparisonRecord): string {
    return JSON.stringify([files.reference.sha256, files.evaluation.sha256].sort());
}

/** By its name, else by its place if there are as many, else the first. */
function sameCriterion(from: ComparisonRecord, to: ComparisonRecord, shown: number): number {
    const name = nameOfCriterion(from.criteria[shown]);
    const found = to.criteria.findIndex((c) => nameOfCriterion(c) === name);
    return Math.max(found, found < 0 && from.criteria.length === to.criteria.length ? shown : 0);
}

/** The voxel at the same place, if the grid reaches there. */
function place(cross: Triple, from: ComparisonRecord, to: ComparisonRecord): Partial<State> {
    const grid = new Grid(to.grids.reference);
    const position = new Grid(from.grids.reference).position(cross);
    const voxel = position.map((mm, a) => Math.round((mm - grid.origin[a]) / grid.spacing[a])) as Triple;
    const isInside = voxel.every((v, a) => v === grid.clamp(voxel)[a]);
    return isInside ? { cross: voxel } : {};
}

/** Structures of the same names; nothing where they are other ones. */
function structuresOf(from: ComparisonRecord, to: ComparisonRecord, state: State): Partial<State> {
    const names = (record: ComparisonRecord): string[] => record.structures?.list.map((s) => s.name) ?? [];
    const [before, now] = [names(from), names(to)];
    if (!now.some((name) => before.includes(name))) {
        return {};
    }
    const indexOf = (index: number): number[] => {
        const found = now.indexOf(before[index]);
        return found < 0 ? [] : [found];
    };
    const { part } = state;
    const isOutside = part === before.length;
    return {
        structures: state.structures.flatMap(indexOf),
        part: part === null ? null : isOutside ? now.length : (indexOf(part)[0] ?? null),
    };
}
