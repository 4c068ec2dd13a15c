import uPlot from 'uplot';
import { axisEnds, axisNames, longAxes, moved } from './axes';
import { axis, Chart, drawRule, scaled } from './chart';
import { byId, el, token } from './dom';
import { fixed } from './format';
import { wholeGrid } from './frame';
import type { Model } from './model';
import type { Triple } from './record';
import type { Changes, State, Store } from './store';
import { sample } from './volume';

const height = 220;

/** Dose and gamma profiles through the crosshair along x, y and z. */
export class Profiles {
    private readonly charts: Chart[];
    private readonly titles: HTMLElement[];
    private readonly axes: number[];

    constructor(
        private readonly model: Model,
        private readonly store: Store,
    ) {
        this.axes = longAxes(model.record);
        this.titles = this.axes.map((a) => el('h3', { id: `profile-${axisNames[a]}-title` }));
        const hosts = this.axes.map((a) => this.build(axisNames[a], a));
        const place = byId('profiles');
        place.replaceChildren(...hosts.map((host, i) => el('div', {}, this.titles[i], host)));
        place.dataset.count = String(hosts.length);
        this.charts = hosts.map(
            (host, i) => new Chart(host, () => this.options(this.axes[i]), height, store.ended),
        );
        this.axes.forEach((_, i) =>
            store.subscribe((state, changes) => this.update(i, state, changes)),
        );
    }

    drawForPrint(width: number, tall: number): void {
        const each = (width * axisNames.length) / this.axes.length;
        this.charts.forEach((chart, i) => chart.create(this.data(this.axes[i]), each, tall));
    }

    private update(i: number, state: State, changes: Changes): void {
        const remade = (['appearance', 'criterion', 'wholeGrid'] as const).some((c) => changes.has(c));
        if (!remade && !changes.has('cross')) {
            return;
        }
        const a = this.axes[i];
        if (remade) {
            this.charts[i].create(this.data(a));
        } else {
            this.charts[i].setData(this.data(a), (u) => this.showCross(u, a));
        }
        this.titles[i].textContent = this.title(a, state.cross);
    }

    /** Without a pointer the legend tells the values at the crosshair. */
    private showCross(u: uPlot, a: number): void {
        if (u.cursor.idx === null || u.cursor.idx === undefined) {
            const { cross } = this.store.state;
            u.setLegend({ idx: u.valToIdx(this.model.grid.coordinate(a, cross[a])) });
        }
    }

    private title(a: number, cross: Triple): string {
        const others = this.axes.filter((other) => other !== a);
        const at = others.map(
            (o) => `${axisNames[o]} = ${fixed(this.model.grid.coordinate(o, cross[o]), 1)} mm`,
        );
        return `Along ${axisNames[a]} at ${at.join(', ')}`;
    }

    private build(name: string, a: number): HTMLElement {
        const host = el('div', {
            class: 'chart',
            id: `profile-${name}`,
            role: 'img',
            'aria-label': `Dose profiles of reference and evaluation along ${name} through the crosshair`,
        });
        host.addEventListener('click', (event) => this.jump(a, host, event));
        return host;
    }

    /** A click on a profile moves the crosshair there. */
    private jump(a: number, host: HTMLElement, event: MouseEvent): void {
        const over = host.querySelector('.u-over');
        if (!over || !(event.target instanceof Node) || !over.contains(event.target)) {
            return;
        }
        const { grid, focus } = this.model;
        const { from, to } = this.store.state.wholeGrid ? wholeGrid(grid) : focus;
        const box = over.getBoundingClientRect();
        const fraction = (event.clientX - box.left) / box.width;
        const voxel = from[a] + Math.floor(fraction * (to[a] - from[a] + 1));
        this.store.update({ cross: grid.clamp(moved(this.store.state.cross, a, voxel)) });
    }

    /** Position, reference, evaluation and gamma along an axis. */
    private data(a: number): uPlot.AlignedData {
        const { model } = this;
        const { cross, criterion } = this.store.state;
        const { grid } = model;
        const gamma = model.gamma(criterion);
        const x: number[] = [];
        const reference: (number | null)[] = [];
        const gammas: (number | null)[] = [];
        const same: (number | null)[] = [];
        for (let i = 0; i < grid.size[a]; ++i) {
            const index = grid.index(moved(cross, a, i));
            x.push(grid.coordinate(a, i));
            reference.push(finite(model.reference.value(index)));
            same.push(finite(model.evaluation.value(index)));
            gammas.push(gamma?.isTested(index) ? gamma.value(index) : null);
        }
        if (model.sameGrid) {
            return [x, reference, same, gammas];
        }
        const own = this.evaluationProfile(a, grid.position(cross));
        const [xs, r, g, e] = uPlot.join([[x, reference, gammas], own]);
        return [xs, r, e, g];
    }

    /** The evaluation at its own voxels along the line, as far as the reference grid reaches. */
    private evaluationProfile(a: number, through: Triple): uPlot.AlignedData {
        const { grid, evaluationGrid, evaluationSource } = this.model;
        const half = grid.spacing[a] / 2;
        const low = grid.coordinate(a, 0) - half;
        const high = grid.coordinate(a, grid.size[a] - 1) + half;
        const x: number[] = [];
        const dose: (number | null)[] = [];
        for (let i = 0; i < evaluationGrid.size[a]; ++i) {
            const at = evaluationGrid.coordinate(a, i);
            if (at >= low && at <= high) {
                x.push(at);
                dose.push(finite(sample(evaluationSource, moved(through, a, at))));
            }
        }
        return [x, dose];
    }

    /** Detectors are dots, not a line. */
    private dots(): Partial<uPlot.Series> {
        if (!this.model.record.measurements?.reference) {
            return { points: { show: false } };
        }
        return {
            paths: () => null,
            points: { show: true, size: scaled(6), fill: token('--reference') },
        };
    }

    private options(a: number): Omit<uPlot.Options, 'width' | 'height'> {
        const { model, store } = this;
        const { grid, record } = model;
        const ends = axisEnds(record, a);
        const unit = record.doseUnit;
        const { decimals } = model.reference;
        const half = grid.spacing[a] / 2;
        const box = store.state.wholeGrid ? wholeGrid(grid) : model.focus;
        const width = scaled(1);
        const range: [number, number] = [
            grid.coordinate(a, box.from[a]) - half,
            grid.coordinate(a, box.to[a]) + half,
        ];
        const shown = (places: number) => (_: uPlot, value: number | null) => fixed(value, places);
        return {
            cursor: { drag: { setScale: false }, points: { size: 6 } },
            legend: { markers: { show: false } },
            scales: {
                x: { time: false, range: () => range },
                dose: { range: (_, low, high) => [Math.min(low ?? 0, 0), Math.max(high ?? 1, 1e-3) * 1.05] },
                gamma: { range: (_, __, high) => [0, Math.max((high ?? 0) * 1.05, 1.5)] },
            },
            axes: [
                axis(`← ${ends.low}     ${axisNames[a]} / mm     ${ends.high} →`, 26),
                axis(`Dose / ${unit}`, 42, { scale: 'dose' }),
                axis('γ', 32, { scale: 'gamma', side: 1, grid: { show: false } }),
            ],
            series: [
                { label: axisNames[a], value: shown(1) },
                {
                    label: 'Reference',
                    scale: 'dose',
                    stroke: token('--reference'),
                    width: scaled(2),
                    ...this.dots(),
                    value: shown(decimals),
                },
                {
                    label: 'Evaluation',
                    scale: 'dose',
                    stroke: token('--evaluation'),
                    width: scaled(1.5),
                    dash: [scaled(6), scaled(3)],
                    points: { show: false },
                    value: shown(decimals),
                },
                {
                    label: 'γ',
                    scale: 'gamma',
                    stroke: token('--gamma'),
                    width: scaled(1),
                    points: { show: false },
                    value: shown(2),
                },
            ],
            hooks: {
                setCursor: [(u) => this.showCross(u, a)],
                draw: [
                    (u) => {
                        const at = grid.coordinate(a, store.state.cross[a]);
                        const colour = token('--gamma');
                        drawRule(u, { scale: 'x', value: at, colour: token('--ink'), dash: [], width });
                        drawRule(u, { scale: 'gamma', value: 1, colour, dash: [2, 3], width });
                    },
                ],
            },
        };
    }
}

function finite(value: number): number | null {
    return Number.isFinite(value) ? value : null;
}
