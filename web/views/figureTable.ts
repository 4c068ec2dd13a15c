import { byId, el } from './dom';
import { fixed, none, signed } from './format';
import type { StructureDoses, StructureRecord, StructuresRecord } from './record';
import { targetsFirst } from './targets';

const decimals = 2;

interface Column {
    name: string;
    of(doses: Pick<StructureDoses, 'min' | 'mean' | 'max' | 'metrics'>): number | null;
}

function columnsOf(list: StructureRecord[]): Column[] {
    const metrics = Object.keys(list.find(({ dvh }) => dvh)?.dvh?.reference.metrics ?? {});
    return [
        { name: 'Min', of: ({ min }) => min },
        { name: 'Mean', of: ({ mean }) => mean },
        { name: 'Max', of: ({ max }) => max },
        ...metrics.map((name) => ({
            name: name.startsWith('V') ? `${name} / %` : name,
            of: (doses: Pick<StructureDoses, 'metrics'>) => doses.metrics[name] ?? null,
        })),
    ];
}

/** The figure of the one dose, or of the reference, and below it by how much that of the evaluation is above. */
function cellOf(structure: StructureRecord, { of }: Column, isPair: boolean): HTMLElement {
    const { dvh } = structure;
    const difference = dvh?.difference ? of(dvh.difference) : null;
    return el(
        'td',
        {},
        dvh ? fixed(of(dvh.reference), decimals) : none,
        isPair ? el('div', { class: 'muted' }, difference === null ? none : signed(difference, decimals)) : null,
    );
}

/**
 * All figures of all structures, targets first.
 * @param before what stands before the name of the structure at a place
 */
export function showFigures(
    { list }: StructuresRecord,
    doseUnit: string,
    isPair: boolean,
    before: (place: number) => HTMLElement | null = () => null,
): void {
    const columns = columnsOf(list);
    const heads = ['Volume / cm³', ...columns.map(({ name }) => name)];
    byId('figure-card').hidden = false;
    byId('figure-unit').textContent = ` / ${doseUnit}`;
    byId('figure-head').replaceChildren(
        el('th', { scope: 'col', class: 'word' }, 'Structure'),
        ...heads.map((name) => el('th', { scope: 'col' }, name)),
    );
    byId('figure-rows').replaceChildren(
        ...targetsFirst(list).map((place) =>
            el(
                'tr',
                {},
                el('th', { scope: 'row', class: 'word' }, before(place), list[place].name),
                el('td', {}, fixed(list[place].volume, decimals)),
                ...columns.map((column) => cellOf(list[place], column, isPair)),
            ),
        ),
    );
}
