import { el } from './dom';
import { none, plain, rate } from './format';

/** A pass rate (%), null where nothing was tested; pending while it is not known. */
export type SweepRate = number | null | 'pending';

/** What a map of pass rates shows; whoever fills it in later calls `refresh` of the map. */
export interface SweepSource {
    /** Dose differences, %: one row each. */
    readonly rows: number[];
    /** Distances to agreement, mm: one column each. */
    readonly columns: number[];
    readonly local: boolean;
    /** %: what a rate is judged by. */
    readonly limits: { tolerance: number; action: number };
    rate(row: number, column: number): SweepRate;
    /** Called when a field is chosen; absent: fields cannot be chosen. */
    onChoose?(row: number, column: number): void;
    /** Which fields can be chosen; absent: all. */
    canChoose?(row: number, column: number): boolean;
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
                    this.fill(field, this.source.rate(r, c));
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

    private fill(field: Field, value: SweepRate): void {
        const { tolerance, action } = this.source.limits;
        const isKnown = typeof value === 'number';
        field.classList.toggle('pending', value === 'pending');
        for (const [name, isIt] of [
            ['pass', isKnown && value >= tolerance],
            ['investigate', isKnown && value < tolerance && value >= action],
            ['fail', isKnown && value < action],
        ] as const) {
            field.classList.toggle(name, isIt);
        }
        field.textContent =
            value === 'pending' ? '…' : value === null ? none : rate(value, [100, tolerance, action]);
        if (isKnown) {
            // The bar tells the rate from 50 % on, where rates of interest are.
            field.style.setProperty('--share', `${Math.max(0, 2 * value - 100)}%`);
        } else {
            field.style.removeProperty('--share');
        }
    }
}
