import { byId, el } from '../views/dom';
import { fixed, none, rate, whole } from '../views/format';
import type { Selection } from './selection';
import { axisStart, type Spread, spreadOf } from './statistics';

/** The rates of each group and of each structure, of the pairs shown. */
export class Groups {
    constructor(private readonly selection: Selection) {
        selection.subscribe(() => {
            this.showGroups();
            this.showStructures();
        });
        const { groupedBy } = selection.record;
        byId('groups-heading').textContent = `By ${groupedBy}`;
        byId('group-column').textContent = groupedBy === 'group' ? 'Group' : groupedBy;
    }

    private showGroups(): void {
        const rates = new Map<string, number[]>();
        const missing = new Map<string, number>();
        for (const pair of this.selection.shown) {
            const group = this.selection.record.pairs.group[pair];
            const value = this.selection.rate(pair);
            rates.set(group, rates.get(group) ?? []);
            if (value === null) {
                missing.set(group, (missing.get(group) ?? 0) + 1);
            } else {
                rates.get(group)?.push(value);
            }
        }
        const spreads = [...rates].sort().map(([group, values]) => ({ group, values, spread: spreadOf(values) }));
        const lowest = Math.min(99, ...spreads.map(({ spread }) => spread?.lowest ?? 99));
        const start = axisStart(lowest);
        byId('box-from').textContent = `${start} %`;
        byId('box-to').textContent = '100 %';
        const rows = spreads.map(({ group, values, spread }) => {
            const button = el('button', { type: 'button' }, group || '(none)');
            const row = el(
                'tr',
                { 'data-group': group },
                el('th', { scope: 'row' }, button),
                ...this.cells(values, spread),
                el('td', {}, whole(missing.get(group) ?? 0)),
                el('td', { class: 'box-cell' }, spread && boxOf(spread, start)),
            );
            button.addEventListener('click', () => this.selection.update({ group, chartGroup: group }));
            return row;
        });
        byId('group-rows').replaceChildren(...rows);
    }

    private showStructures(): void {
        const names = this.selection.structures.filter((name) => name !== '');
        byId('by-structure').hidden = names.length === 0;
        const { criterion } = this.selection.choice;
        const rows = names.flatMap((name) => {
            const series = this.selection.seriesOf(criterion, name);
            if (!series) {
                return [];
            }
            const values = this.selection.rates(series);
            const button = el('button', { type: 'button' }, name);
            button.addEventListener('click', () => this.selection.update({ structure: name }));
            const cells = this.cells(values, spreadOf(values));
            return [el('tr', { 'data-structure': name }, el('th', { scope: 'row' }, button), ...cells)];
        });
        byId('structure-rows').replaceChildren(...rows);
    }

    private cells(values: number[], spread: Spread | null): HTMLElement[] {
        const { tolerance, action } = this.selection.record.thresholds;
        const shown = (value: number | undefined): string =>
            value === undefined ? none : rate(value, [tolerance, action]);
        const below = (limit: number): string => {
            const count = values.filter((value) => value < limit).length;
            const share = values.length ? ` (${fixed((100 * count) / values.length, 1)} %)` : '';
            return `${whole(count)}${share}`;
        };
        return [
            whole(values.length),
            shown(spread?.mean),
            shown(spread?.quartiles[1]),
            shown(spread?.lowest),
            below(tolerance),
            below(action),
        ].map((text) => el('td', {}, text));
    }
}

/** A box from quartile to quartile, a line from the lowest to the highest, a mark at the median. */
function boxOf(spread: Spread, start: number): HTMLElement {
    const at = (value: number): number => (100 * (value - start)) / (100 - start);
    const part = (name: string, from: number, to: number): HTMLElement => {
        const element = el('div', { class: name });
        element.style.left = `${at(from)}%`;
        element.style.width = `${Math.max(at(to) - at(from), 0)}%`;
        return element;
    };
    const [low, median, high] = spread.quartiles;
    return el(
        'div',
        { class: 'box-plot', 'aria-hidden': 'true' },
        part('whisker', spread.lowest, spread.highest),
        part('quartiles', low, high),
        part('median', median, median),
    );
}
