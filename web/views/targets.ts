import type { StructureRecord } from './record';

const types = ['PTV', 'CTV', 'GTV'];
const name = /(^|[^a-z])i?[pcg]tv/i;

/** By the type that its file gives it; where that gives none, by its name. */
function isTarget(structure: StructureRecord): boolean {
    return types.includes(structure.type) || (structure.type === '' && name.test(structure.name));
}

/** The places of structures: targets first, each kind in the order of the list. */
export function targetsFirst(list: StructureRecord[]): number[] {
    const places = list.map((_, place) => place);
    return [...places.filter((i) => isTarget(list[i])), ...places.filter((i) => !isTarget(list[i]))];
}

/** Targets first; not the outline of the body, and not so many that they hide one another. */
export function drawnAtFirst(list: StructureRecord[]): number[] {
    const most = 10;
    const inner = targetsFirst(list).filter((i) => list[i].type !== 'EXTERNAL' && list[i].voxels > 0);
    return inner.slice(0, most);
}
