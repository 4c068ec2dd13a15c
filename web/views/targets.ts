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
