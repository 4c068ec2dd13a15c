import uPlot from 'uplot';
import { axis, Chart, drawRule, scaled, type Rule } from '../views/chart';
import { byId, el, token } from '../views/dom';
import { counted, fixed, whole } from '../views/format';
import type { Limits } from './data';
import type { Selection } from './selection';

const heights = { individuals: 240, ranges: 130 };
const mostSegments = 8;

/** I-chart and moving-range chart of one group. */
export class Control {
    private readonly individuals = new Chart(byId('individuals'), () => this.individualOptions(), heights.individuals);
    private readonly ranges = new Chart(byId('ranges'), () => this.rangeOptions(), heights.ranges);
    private limits: Limits | null = null;
    private values: number[] = [];
    private moving: (number | null)[] = [];

    constructor(private readonly selection: Selection) {
        selection.subscribe(() => this.draw());
    }

    draw(width?: number, tall?: [number, number]): void {
        const { criterion, structure, chartGroup } = this.selection.choice;
        const { limits } = this.selection.record;
        const candidates = limits.filter((l) => l.criterion === criterion && l.structure === structure);
        this.limits = candidates.find((l) => l.group === chartGroup) ?? candidates[0] ?? null;
        byId('control').hidden = this.limits === null;
        if (!this.limits) {
            return;
        }
        this.showChoice(candidates, this.limits);
        this.showText(this.limits);
        this.values = this.limits.pair.map((pair) => this.selection.rate(pair) ?? NaN);
        this.moving = this.values.map((v, i) => (i === 0 ? null : Math.abs(v - this.values[i - 1])));
        const places = this.values.map((_, i) => i + 1);
        const { beyond, rangeLimit } = this.limits;
        const outside = this.values.map((v, i) => (beyond[i] === 'action' || beyond[i] === 'process' ? v : null));
        const jumps = this.moving.map((v) => (v !== null && v > rangeLimit ? v : null));
        this.individuals.create([places, this.values, outside], width, tall?.[0]);
        this.ranges.create([places, this.moving, jumps], width, tall?.[1]);
    }

    private showChoice(candidates: Limits[], chosen: Limits): void {
        const host = byId('chart-groups');
        host.hidden = candidates.length < 2;
        const legend = host.querySelector('legend');
        const choose = (group: string): void => this.selection.update({ chartGroup: group });
        if (candidates.length > mostSegments) {
            const select = el(
                'select',
                { 'aria-label': 'Group of the charts' },
                ...candidates.map((l) => el('option', { value: l.group }, l.group || '(none)')),
            );
            select.value = chosen.group;
            select.addEventListener('input', () => choose(select.value));
            host.replaceChildren(...(legend ? [legend, select] : [select]));
            return;
        }
        const labels = candidates.map((l) => {
            const input = el('input', { type: 'radio', name: 'chart-group', checked: l === chosen });
            input.addEventListener('input', () => choose(l.group));
            return el('label', {}, input, el('span', {}, l.group || '(none)'));
        });
        host.replaceChildren(...(legend ? [legend, ...labels] : labels));
    }

    private showText(limits: Limits): void {
        const count = limits.beyond.filter((b) => b !== '').length;
        const parts = [`${limits.group || 'All pairs'} by ${limits.criterion}: ${counted(limits.pair.length, 'pair')}`];
        parts.push(count === 0 ? 'none beyond the limits' : `${whole(count)} beyond the limits`);
        if (!limits.hasEnough) {
            parts.push('fewer than 20 pairs: these limits are a first guess');
        }
        if (!limits.hasDates) {
            parts.push('not all have a date: those without come first');
        }
        byId('control-text').textContent = `${parts.join('; ')}. Of all pairs of the group, whatever is filtered.`;
        const figures: [string, string][] = [
            ['Centre line', `${fixed(limits.centre, 3)} %`],
            ['Process limits', `${fixed(limits.lower, 3)} – ${fixed(limits.upper, 3)} %`],
            ['Action limit', `${fixed(limits.action, 3)} %`],
            ['Mean moving range', `${fixed(limits.meanRange, 3)} %`],
            ['Moving range up to', `${fixed(limits.rangeLimit, 3)} %`],
        ];
        byId('control-figures').replaceChildren(
            ...figures.flatMap(([name, text]) => [el('dt', {}, name), el('dd', {}, text)]),
        );
        byId('individuals').setAttribute('aria-label', `Individuals chart: ${parts.join('; ')}`);
        byId('ranges').setAttribute('aria-label', 'Moving-range chart');
    }

    private rule(value: number, colour: string, dash: number[]): Rule {
        return { scale: 'y', value, colour: token(colour), dash, width: scaled(1) };
    }

    private individualOptions(): Omit<uPlot.Options, 'width' | 'height'> {
        const l = this.limits as Limits;
        const rules = [
            this.rule(l.centre, '--ink', []),
            this.rule(l.lower, '--accent', [5, 3]),
            this.rule(l.upper, '--accent', [5, 3]),
            this.rule(l.action, '--fail', [2, 3]),
        ];
        const low = Math.min(l.lower, l.action, ...this.values);
        const high = Math.max(...this.values, Math.min(l.upper, 100));
        const margin = 0.05 * (high - low || 1);
        return this.options('Pass rate / %', [low - margin, high + margin], rules);
    }

    private rangeOptions(): Omit<uPlot.Options, 'width' | 'height'> {
        const l = this.limits as Limits;
        const rules = [this.rule(l.meanRange, '--ink', []), this.rule(l.rangeLimit, '--accent', [5, 3])];
        const high = Math.max(l.rangeLimit, ...this.moving.map((v) => v ?? 0));
        return this.options('Range / %', [0, 1.05 * high || 1], rules);
    }

    private options(
        label: string,
        range: [number, number],
        rules: Rule[],
    ): Omit<uPlot.Options, 'width' | 'height'> {
        const count = this.values.length;
        const dot = (size: number, colour: string) => ({
            show: true,
            size: scaled(size),
            width: 0,
            fill: token(colour),
            stroke: token(colour),
        });
        return {
            cursor: {
                drag: { setScale: false },
                sync: { key: 'control' },
            },
            legend: { markers: { show: false } },
            scales: {
                x: { time: false, range: () => [0, count + 1] },
                y: { range: () => range },
            },
            axes: [
                axis('', 18, {
                    values: (_, splits) => splits.map((v) => this.dateAt(v)),
                    labelSize: 0,
                    space: scaled(100),
                }),
                axis(label, 52),
            ],
            series: [
                { label: 'Pair', value: (_, value) => this.nameAt(value) },
                {
                    label,
                    stroke: token('--muted'),
                    width: scaled(count > 400 ? 0.5 : 1),
                    points: count > 400 ? { show: false } : dot(5, '--accent'),
                    value: (_, value) => (value === null ? '–' : fixed(value, 3)),
                },
                {
                    label: 'Beyond',
                    paths: () => null,
                    points: dot(9, '--fail'),
                    value: (_, value) => (value === null ? '–' : fixed(value, 3)),
                },
            ],
            hooks: {
                draw: rules.map((rule) => (u: uPlot) => drawRule(u, rule)),
                // A click marks the pair in the table.
                ready: [(u) => u.over.addEventListener('click', () => this.mark(u.cursor.idx ?? null))],
            },
        };
    }

    private mark(place: number | null): void {
        if (place !== null && this.limits) {
            this.selection.update({ marked: this.limits.pair[place] });
        }
    }

    private dateAt(place: number): string {
        const pair = this.limits?.pair[place - 1];
        return pair === undefined ? '' : this.selection.record.pairs.date[pair].slice(0, 10) || String(place);
    }

    private nameAt(place: number | null): string {
        const pair = place === null ? undefined : this.limits?.pair[place - 1];
        return pair === undefined ? '–' : this.selection.record.pairs.id[pair];
    }
}
