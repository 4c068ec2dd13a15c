import { notTested } from './comparison';
import { byId, el, swatch } from './dom';
import { fixed, none, rate, whole } from './format';
import { gammaText, meanText } from './judged';
import type { Model } from './model';
import type { Criterion, PartResult, StructureRecord, Triple, Verdict } from './record';
import type { Changes, State, Store } from './store';
import { showStructureNotes } from './structureNotes';
import { chip } from './summary';
import { targetsFirst } from './targets';

type Column = 'name' | 'volume' | 'tested' | 'failed' | 'passRate' | 'mean' | 'max' | 'verdict';

/** A line of the list: a structure, or what is outside of all. */
interface Line {
    part: number;
    result: PartResult;
    structure: StructureRecord | null;
}

const severity: Record<Verdict, number> = { fail: 0, investigate: 1, pass: 2, none: 3 };

function value(line: Line, column: Column): number | string {
    const { result, structure } = line;
    switch (column) {
        case 'name':
            return structure ? structure.name.toLowerCase() : '\uffff';
        case 'volume':
            return structure?.volume ?? Infinity;
        case 'verdict':
            return severity[result.verdict];
        default:
            return result[column] ?? Infinity;
    }
}

function compare(a: Line, b: Line, column: Column): number {
    const [x, y] = [value(a, column), value(b, column)];
    return x < y ? -1 : x > y ? 1 : a.part - b.part;
}

/** The results of a part of the tested voxels: of a structure, outside of all, or of all. */
export function resultOf(criterion: Criterion, part: number | null): PartResult | Criterion {
    const parts = [...(criterion.structures ?? []), criterion.outsideStructures];
    return part === null ? criterion : (parts[part] ?? nothingTested);
}

/** Of a structure that the criterion is not for. */
const nothingTested: PartResult = {
    name: null,
    tested: 0,
    passed: 0,
    failed: 0,
    passRate: null,
    mean: null,
    p95: null,
    p99: null,
    max: null,
    verdict: 'none',
    histogram: null,
};

export function nameOf(record: { list: StructureRecord[] }, part: number): string {
    return record.list[part]?.name ?? 'outside all structures';
}

/** The structures with their rates: sorted, filtered, outlined, chosen. */
export class StructureList {
    private column: Column = 'passRate';
    private isFalling = false;
    private readonly rows = byId('structure-rows');
    private readonly filter = byId<HTMLInputElement>('structure-filter');
    private readonly structures: StructureRecord[];

    constructor(
        private readonly model: Model,
        private readonly store: Store,
    ) {
        this.structures = model.record.structures?.list ?? [];
        byId('structures').hidden = false;
        this.filter.addEventListener('input', () => this.build());
        byId('structures-all').addEventListener('click', () => this.outline(this.shown()));
        byId('structures-none').addEventListener('click', () => this.outline([]));
        document.querySelectorAll<HTMLElement>('#structure-table [data-sort]').forEach((head) => {
            const button = head.querySelector('button');
            button?.addEventListener('click', () => this.sortBy(head.dataset.sort as Column));
        });
        showStructureNotes(model.record.structures!);
        store.subscribe((state, changes) => this.update(state, changes));
    }

    private update(state: State, changes: Changes): void {
        if (changes.has('criterion')) {
            this.build();
        }
        if (changes.has('structures') || changes.has('part')) {
            this.mark(state);
        }
    }

    private lines(): Line[] {
        const criterion = this.model.record.criteria[this.store.state.criterion];
        const parts = [...(criterion.structures ?? []), criterion.outsideStructures];
        const lines = parts.flatMap((result, part) =>
            result ? [{ part, result, structure: this.structures[part] ?? null }] : [],
        );
        const sign = this.isFalling ? -1 : 1;
        const text = this.filter.value.trim().toLowerCase();
        return lines
            .filter((l) => (l.structure?.name ?? 'outside all structures').toLowerCase().includes(text))
            .sort((a, b) => sign * compare(a, b, this.column));
    }

    private shown(): number[] {
        return this.lines().flatMap(({ part, structure }) => (structure ? [part] : []));
    }

    private outline(structures: number[]): void {
        this.store.update({ structures: targetsFirst(this.structures).filter((i) => structures.includes(i)) });
    }

    private sortBy(column: Column): void {
        this.isFalling = this.column === column && !this.isFalling;
        this.column = column;
        this.build();
    }

    private build(): void {
        this.rows.replaceChildren(...this.lines().map((line) => this.row(line)));
        document.querySelectorAll<HTMLElement>('#structure-table [data-sort]').forEach((head) => {
            const isSorted = head.dataset.sort === this.column;
            const direction = this.isFalling ? 'descending' : 'ascending';
            head.setAttribute('aria-sort', isSorted ? direction : 'none');
        });
        this.mark(this.store.state);
    }

    private mark(state: State): void {
        for (const row of this.rows.querySelectorAll<HTMLElement>('tr')) {
            const part = Number(row.dataset.part);
            const isChosen = part === state.part;
            row.classList.toggle('selected', isChosen);
            row.querySelector('button')?.setAttribute('aria-pressed', String(isChosen));
            const box = row.querySelector<HTMLInputElement>('input');
            if (box) {
                box.checked = state.structures.includes(part);
            }
        }
    }

    private row({ part, result, structure }: Line): HTMLElement {
        const name = structure?.name ?? 'Outside all structures';
        const button = el('button', { type: 'button', class: 'plain', 'aria-pressed': 'false' }, name);
        const { tolerance, action } = (structure ?? this.model.record.criteria[0]).limits;
        const criterion = this.model.record.criteria[this.store.state.criterion];
        const isTested = result.tested > 0;
        const cell = (text: string, key: string) => el('td', { 'data-value': key }, text);
        const row = el(
            'tr',
            { 'data-part': part },
            el('td', { class: 'word' }, structure ? this.box(part, name) : null),
            el('th', { scope: 'row', class: 'word' }, structure ? swatch(structure.colour) : null, button),
            cell(structure ? fixed(structure.volume, 2) : none, 'volume'),
            cell(whole(result.tested), 'tested'),
            cell(whole(result.failed), 'failed'),
            isTested
                ? cell(rate(result.passRate, [100, tolerance, action]), 'passRate')
                : el('td', { 'data-value': 'passRate', class: 'muted' }, 'nothing tested'),
            cell(meanText(result), 'mean'),
            cell(gammaText(result.max, criterion), 'max'),
            el('td', { class: 'word', 'data-value': 'verdict' }, isTested ? chip(result.verdict) : null),
        );
        row.addEventListener('click', (event) => {
            if (!(event.target instanceof HTMLInputElement)) {
                this.choose(part);
            }
        });
        return row;
    }

    private box(part: number, name: string): HTMLInputElement {
        const box = el('input', { type: 'checkbox', 'aria-label': `Outline ${name}` });
        box.addEventListener('change', () => {
            const others = this.store.state.structures.filter((s) => s !== part);
            this.outline(box.checked ? [...others, part] : others);
        });
        return box;
    }

    /** Shows a part, and goes to its largest gamma; once more: shows all again. */
    private choose(part: number): void {
        if (this.store.state.part === part) {
            this.store.update({ part: null });
            return;
        }
        const cross = this.largestGamma(part);
        this.store.update(cross ? { part, cross } : { part });
    }

    private largestGamma(part: number): Triple | null {
        const { grid, shapes } = this.model;
        const gamma = this.model.gamma(this.store.state.criterion);
        let best = -1;
        let highest = notTested;
        shapes.visitPart(grid, part, (index) => {
            const stored = gamma?.stored(index) ?? notTested;
            if (stored > highest) {
                best = index;
                highest = stored;
            }
        });
        return best < 0 ? null : grid.voxel(best);
    }
}
