import { el } from './dom';
import { none, plain, rate } from './format';
import { verdictWord } from './summary';
import type { ComparisonRecord, Criterion, Verdict } from './record';

/** A pass rate (%), null where nothing was tested; pending while it is not known. */
export type SweepRate = number | null | 'pending';

/** %, of a criterion or of a structure. */
export type Limits = Criterion['limits'];

/** What a map of pass rates shows; whoever fills it in later calls `refresh` of the map. */
export interface SweepSource {
    /** Dose differences, %: one row each. */
    readonly rows: number[];
    /** Distances to agreement, mm: one column each. */
    readonly columns: number[];
    readonly local: boolean;
    /** %: what a rate is judged by. */
    readonly limits: Limits;
    rate(row: number, column: number): SweepRate;
    /** Called when a field is chosen; absent: fields cannot be chosen. */
    onChoose?(row: number, column: number): void;
    /** Which fields can be chosen; absent: all. */
    canChoose?(row: number, column: number): boolean;
    /** Which criteria have been computed in whole; absent: none. */
    isComputed?(row: number, column: number): boolean;
    /** Which of these is shown; absent: none. */
    isShown?(row: number, column: number): boolean;
}

/** What rates of all tested voxels are judged by, or those of a structure. */
export function limitsOf(record: ComparisonRecord, structure: string | null): Limits {
    const own = record.structures?.list.find(({ name }) => name === structure);
    return own?.limits ?? record.criteria[0].limits;
}

/** What the marks of the fields mean. */
export function legendOf({ tolerance, action }: Limits): string {
    const between = action < tolerance ? `, ! from ${plain(action)}\u00a0%` : '';
    return `✓ from ${plain(tolerance)}\u00a0%${between}, ✕ below ${plain(action)}\u00a0%.`;
}

type Field = HTMLElement;

/** Pass rates by criterion: rows by dose difference, columns by distance to agreement. */
export class SweepMap {
    readonly element: HTMLElement;
    private readonly fields: Field[][];

    constructor(private readonly source: SweepSource) {
        const { rows, columns, local } = source;
        this.fields = rows.map((_, row) => columns.map((__, column) => this.field(row, column)));
        this.element = el(
            'table',
            { class: 'sweep' },
            el(
                'thead',
                {},
                el(
                    'tr',
                    {},
                    el('th', { scope: 'col', class: 'word' }, local ? 'local' : 'global'),
                    ...columns.map((mm) => el('th', { scope: 'col' }, `${plain(mm)}\u00a0mm`)),
                ),
            ),
            el(
                'tbody',
                {},
                ...rows.map((percent, row) =>
                    el(
                        'tr',
                        {},
                        el('th', { scope: 'row' }, `${plain(percent)}\u00a0%`),
                        ...this.fields[row].map((field) => el('td', {}, field)),
                    ),
                ),
            ),
        );
        this.refresh();
    }

    /** Shows all rates anew, or that of one field. */
    refresh(row?: number, column?: number): void {
        this.fields.forEach((fields, r) =>
            fields.forEach((field, c) => {
                if ((row === undefined || row === r) && (column === undefined || column === c)) {
                    this.fill(field, r, c);
                }
            }),
        );
    }

    private field(row: number, column: number): Field {
        const { onChoose } = this.source;
        if (!onChoose || this.source.canChoose?.(row, column) === false) {
            return el('span', { class: 'sweep-field' });
        }
        const button = el('button', { type: 'button', class: 'sweep-field' });
        button.addEventListener('click', () => onChoose.call(this.source, row, column));
        return button;
    }

    private fill(field: Field, row: number, column: number): void {
        const { source } = this;
        const value = source.rate(row, column);
        const isComputed = source.isComputed?.(row, column) ?? false;
        const verdict = this.verdictOf(value);
        const judged = verdict === 'none' ? '' : verdict;
        field.className = ['sweep-field', judged || (value === 'pending' ? value : ''), isComputed ? 'computed' : '']
            .filter(Boolean)
            .join(' ');
        field.textContent = this.textOf(value);
        field.title = this.titleOf(row, column, value);
        if (source.isShown && field instanceof HTMLButtonElement) {
            field.setAttribute('aria-pressed', String(source.isShown(row, column)));
        }
        // The bar tells the rate from 50 % on, where rates of interest are.
        field.style.setProperty('--share', typeof value === 'number' ? `${Math.max(0, 2 * value - 100)}%` : '0%');
    }

    private verdictOf(value: SweepRate): Verdict {
        const { tolerance, action } = this.source.limits;
        if (typeof value !== 'number') {
            return 'none';
        }
        return value >= tolerance ? 'pass' : value >= action ? 'investigate' : 'fail';
    }

    private textOf(value: SweepRate): string {
        const { tolerance, action } = this.source.limits;
        return value === 'pending' ? '…' : value === null ? none : rate(value, [100, tolerance, action]);
    }

    /** "2%L/3mm: 97.20 %, pass" */
    private titleOf(row: number, column: number, value: SweepRate): string {
        const { rows, columns, local } = this.source;
        const label = `${plain(rows[row])}%${local ? 'L' : ''}/${plain(columns[column])}mm`;
        const told =
            typeof value === 'number'
                ? `${this.textOf(value)}\u00a0%, ${verdictWord(this.verdictOf(value)).toLowerCase()}`
                : value === 'pending' ? 'not computed yet' : 'nothing was tested';
        return `${label}: ${told}`;
    }
}
