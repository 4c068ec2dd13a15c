import { byId, el } from '../views/dom';
import { counted, fixed, none, plain, rate, whole } from '../views/format';
import type { Series } from './data';
import type { Selection, Verdict } from './selection';
import { spreadOf } from './statistics';

const names: Record<Verdict, string> = {
    pass: 'Tolerance met',
    investigate: 'Between the limits',
    fail: 'Below the action limit',
    none: 'Not computed',
};
const marks: Record<Verdict, string> = { pass: '✓', investigate: '!', fail: '✕', none: '–' };

/** The figures of the pairs shown, and a map of all criteria. */
export class Overview {
    constructor(private readonly selection: Selection) {
        selection.subscribe(() => {
            this.showFigures();
            this.showShares();
            this.showMap();
        });
    }

    private get limits(): number[] {
        const { tolerance, action } = this.selection.record.thresholds;
        return [tolerance, action];
    }

    private showFigures(): void {
        const spread = spreadOf(this.selection.rates());
        byId('mean-rate').textContent = spread ? rate(spread.mean, this.limits) : none;
        const { criterion, structure } = this.selection.choice;
        const where = structure ? ` in ${structure}` : '';
        byId('mean-text').textContent = `mean of ${counted(spread?.count ?? 0, 'pair')} by ${criterion}${where}`;
        const entries: [string, number | undefined][] = [
            ['Median', spread?.quartiles[1]],
            ['Quartiles', undefined],
            ['Lowest', spread?.lowest],
            ['Highest', spread?.highest],
        ];
        const texts = entries.map(([name, value]): [string, string] => {
            if (name === 'Quartiles') {
                const [low, , high] = spread?.quartiles ?? [null, null, null];
                return [name, `${fixed(low, 2)} – ${fixed(high, 2)} %`];
            }
            return [name, `${value === undefined ? none : rate(value, this.limits)} %`];
        });
        byId('figures').replaceChildren(
            ...texts.flatMap(([name, text]) => [el('dt', {}, name), el('dd', {}, text)]),
        );
    }

    private showShares(): void {
        const counts: Record<Verdict, number> = { pass: 0, investigate: 0, fail: 0, none: 0 };
        for (const pair of this.selection.shown) {
            counts[this.selection.verdictOf(this.selection.rate(pair))] += 1;
        }
        const total = Math.max(this.selection.shown.length, 1);
        const bar = el('div', { class: 'share-bar', 'aria-hidden': 'true' });
        const list = el('ul', {});
        for (const verdict of Object.keys(counts) as Verdict[]) {
            const part = el('div', { class: verdict });
            part.style.width = `${(100 * counts[verdict]) / total}%`;
            bar.append(part);
            if (counts[verdict] > 0 || verdict !== 'none') {
                const chip = el('span', { class: `chip ${verdict}` }, marks[verdict]);
                const count = el('b', { 'data-verdict': verdict }, whole(counts[verdict]));
                list.append(el('li', {}, chip, ` ${names[verdict]} `, count));
            }
        }
        byId('shares').replaceChildren(bar, list);
    }

    private showMap(): void {
        const { structure } = this.selection.choice;
        const series = this.selection.record.series.filter((s) => s.structure === structure);
        const kinds = [false, true].filter((local) => series.some((s) => s.local === local));
        byId('map').replaceChildren(
            ...kinds.map((local) => this.mapOf(series.filter((s) => s.local === local), local)),
        );
    }

    private mapOf(series: Series[], local: boolean): HTMLElement {
        const sorted = (values: number[]): number[] => [...new Set(values)].sort((a, b) => a - b);
        const distances = sorted(series.map((s) => s.distance));
        const doses = sorted(series.map((s) => s.doseDifference));
        const head = el(
            'tr',
            {},
            el('th', { scope: 'col' }, local ? 'local' : 'global'),
            ...distances.map((d) => el('th', { scope: 'col' }, `${plain(d)} mm`)),
        );
        const rows = doses.map((dose) => {
            const cells = distances.map((distance) => {
                const found = series.find((s) => s.doseDifference === dose && s.distance === distance);
                return found ? this.cellOf(found) : el('td', {}, none);
            });
            return el('tr', {}, el('th', { scope: 'row' }, `${plain(dose)} %`), ...cells);
        });
        return el('table', { class: 'map' }, el('thead', {}, head), el('tbody', {}, ...rows));
    }

    private cellOf(series: Series): HTMLElement {
        const spread = spreadOf(this.selection.rates(series));
        const isChosen = series.criterion === this.selection.choice.criterion;
        const verdict = this.selection.verdictOf(spread?.mean ?? null);
        const button = el(
            'button',
            { type: 'button', class: verdict, 'aria-pressed': String(isChosen), title: series.criterion },
            el('b', {}, spread ? rate(spread.mean, this.limits) : none),
            el('span', {}, spread ? rate(spread.lowest, this.limits) : none),
        );
        button.addEventListener('click', () => this.selection.update({ criterion: series.criterion }));
        return el('td', { class: isChosen ? 'chosen' : null }, button);
    }
}
