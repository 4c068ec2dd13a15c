import { byId, el } from '../views/dom';
import { counted, fixed, none, rate, whole } from '../views/format';
import type { Column, Selection } from './selection';

const rowHeight = 28;
/** Rows beyond both ends of what is seen, so that scrolling shows no gap. */
const margin = 12;
const printedRows = 60;

const columns: [Column, string][] = [
    ['id', 'Pair'],
    ['group', 'Group'],
    ['date', 'Date'],
    ['pass_rate', 'Pass rate / %'],
    ['tested', 'Tested'],
    ['failed', 'Failed'],
    ['mean', 'Mean γ'],
    ['p95', 'γ 95 %'],
    ['maximum', 'Max γ'],
];
const withoutNoise: [Column, string] = ['without_noise', 'Without noise / %'];
const chips = { pass: '✓ pass', investigate: '! check', fail: '✕ fail', none: '–' };

/** All pairs shown; only the rows in view are elements. */
export class PairsTable {
    private readonly host = byId('pairs');
    private readonly body = byId('pairs-body');
    private readonly columns: [Column, string][];
    private lastMarked: number | null = null;
    private isPrinting = false;

    constructor(private readonly selection: Selection) {
        const isEstimated = selection.record.series.some((one) => one.without_noise !== undefined);
        this.columns = isEstimated ? [...columns, withoutNoise] : columns;
        this.host.classList.toggle('estimated', isEstimated);
        this.host.addEventListener('scroll', () => this.drawRows());
        this.host.addEventListener('keydown', (event) => this.onKey(event));
        new ResizeObserver(() => this.drawRows()).observe(this.host);
        selection.subscribe(() => this.draw());
    }

    draw(): void {
        const { shown, choice } = this.selection;
        this.drawHead();
        this.host.setAttribute('aria-rowcount', String(shown.length + 1));
        if (choice.marked !== this.lastMarked) {
            this.lastMarked = choice.marked;
            this.scrollTo(choice.marked);
        }
        this.drawRows();
    }

    /** Shows the first rows as a plain list, or goes back. */
    print(isPrinting: boolean): void {
        this.isPrinting = isPrinting;
        this.drawRows();
    }

    private drawHead(): void {
        const { sortBy, descending } = this.selection.choice;
        const cells = this.columns.map(([column, name]) => {
            const isSorted = column === sortBy;
            const title = column === 'group' && this.selection.record.groupedBy !== 'group' ? this.selection.record.groupedBy : name;
            const arrow = isSorted ? (descending ? ' ▾' : ' ▴') : '';
            const button = el('button', { type: 'button', 'data-column': column }, title + arrow);
            button.addEventListener('click', () =>
                this.selection.update({ sortBy: column, descending: isSorted && !descending }),
            );
            const sort = isSorted ? (descending ? 'descending' : 'ascending') : 'none';
            return el('span', { role: 'columnheader', 'aria-sort': sort, class: column }, button);
        });
        byId('pairs-head').replaceChildren(
            ...cells,
            el('span', { role: 'columnheader', class: 'verdict-cell' }, 'Verdict'),
        );
    }

    private drawRows(): void {
        const { shown } = this.selection;
        const seen = Math.ceil(this.host.clientHeight / rowHeight);
        const top = Math.floor(this.host.scrollTop / rowHeight);
        const first = this.isPrinting ? 0 : Math.max(0, Math.min(top, shown.length - seen) - margin);
        const last = Math.min(shown.length, this.isPrinting ? printedRows : first + seen + 2 * margin);
        this.body.style.height = `${(this.isPrinting ? last : shown.length) * rowHeight}px`;
        const rows = shown.slice(first, last).map((pair, i) => this.rowOf(pair, first + i));
        this.body.replaceChildren(...rows);
        const text = this.isPrinting && last < shown.length ? `the first ${last} of ` : '';
        byId('pairs-text').textContent = `${text}${counted(shown.length, 'pair')}`;
    }

    private rowOf(pair: number, place: number): HTMLElement {
        const { selection } = this;
        const { pairs } = selection.record;
        const verdict = selection.verdictOf(selection.rate(pair));
        const error = pairs.error[pair];
        const row = el('div', {
            class: pair === selection.choice.marked ? 'row marked' : 'row',
            role: 'row',
            'aria-rowindex': place + 2,
            'data-pair': pairs.id[pair],
        });
        row.style.top = `${place * rowHeight}px`;
        row.append(cell('id', this.nameOf(pair)), cell('group', pairs.group[pair]));
        row.append(cell('date', pairs.date[pair].replace('T', ' ')));
        if (error !== null) {
            row.append(el('span', { role: 'cell', class: 'error', title: error }, error));
        } else {
            row.append(...this.figureCells(pair));
        }
        row.append(cell('verdict-cell', el('span', { class: `chip ${verdict}` }, error === null ? chips[verdict] : 'no result')));
        row.addEventListener('click', () => {
            this.lastMarked = pair; // it is in view already
            selection.update({ marked: pair });
        });
        return row;
    }

    private nameOf(pair: number): HTMLElement | string {
        const { pairs, pagesFolder } = this.selection.record;
        const page = pairs.page[pair];
        if (page === null || pagesFolder === null) {
            return pairs.id[pair];
        }
        return el('a', { href: `${pagesFolder}/${encodeURIComponent(page)}`, target: '_blank', rel: 'noopener' }, pairs.id[pair]);
    }

    private figureCells(pair: number): HTMLElement[] {
        const { tolerance, action } = this.selection.record.thresholds;
        const figure = (column: 'tested' | 'failed' | 'mean' | 'p95' | 'maximum') =>
            this.selection.figure(pair, column);
        const count = (value: number | null): string => (value === null ? none : whole(value));
        return [
            cell('pass_rate', rate(this.selection.rate(pair), [tolerance, action])),
            cell('tested', count(figure('tested'))),
            cell('failed', count(figure('failed'))),
            ...(['mean', 'p95', 'maximum'] as const).map((c) => cell(c, fixed(figure(c), 3))),
            ...(this.columns.includes(withoutNoise) ? [this.estimateCell(pair)] : []),
        ];
    }

    /** The rate without statistical noise, with its interval as its title. */
    private estimateCell(pair: number): HTMLElement {
        const [estimate, lower, upper] = (['without_noise', 'without_noise_lower', 'without_noise_upper'] as const).map(
            (column) => this.selection.figure(pair, column),
        );
        const one = cell('without_noise', fixed(estimate, 1));
        if (estimate !== null) {
            one.title = `${fixed(lower, 1)} to ${fixed(upper, 1)} %`;
        }
        return one;
    }

    private scrollTo(pair: number | null): void {
        const place = pair === null ? -1 : this.selection.shown.indexOf(pair);
        if (place >= 0) {
            this.host.scrollTop = place * rowHeight - this.host.clientHeight / 2;
            this.host.scrollIntoView({ block: 'nearest' });
        }
    }

    private onKey(event: KeyboardEvent): void {
        const step = { ArrowDown: 1, ArrowUp: -1 }[event.key];
        if (step === undefined) {
            return;
        }
        event.preventDefault();
        const { shown, choice } = this.selection;
        const place = choice.marked === null ? -1 : shown.indexOf(choice.marked);
        const next = shown[Math.max(0, Math.min(place + step, shown.length - 1))];
        this.selection.update({ marked: next ?? null });
    }
}

function cell(name: string, content: HTMLElement | string): HTMLElement {
    return el('span', { role: 'cell', class: name }, content);
}
