import uPlot from 'uplot';
import { axisEnds, axisNames, moved } from './axes';
import { axis, Chart, drawRule, scaled } from './chart';
import { notTested } from './comparison';
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

    constructor(
        private readonly model: Model,
        private readonly store: Store,
    ) {
        this.titles = axisNames.map((name) => el('h3', { id: `profile-${name}-title` }));
        const hosts = axisNames.map((name, a) => this.build(name, a));
        byId('profiles').replaceChildren(...hosts.map((host, a) => el('div', {}, this.titles[a], host)));
        this.charts = hosts.map((host, a) => new Chart(host, () => this.options(a), height, store.ended));
        axisNames.forEach((_, a) =>
            store.subscribe((state, changes) => this.update(a, state, changes)),
        );
    }

    drawForPrint(width: number, tall: number): void {
        this.charts.forEach((chart, a) => chart.create(this.data(a), width, tall));
    }

    private update(a: number, state: State, changes: Changes): void {
        const remade = (['appearance', 'criterion', 'wholeGrid'] as const).some((c) => changes.has(c));
        if (!remade && !changes.has('cross')) {
            return;
        }
        if (remade) {
            this.charts[a].create(this.data(a));
        } else {
            this.charts[a].setData(this.data(a));
        }
        this.titles[a].textContent = this.title(a, state.cross);
    }

    /** Without a pointer the legend tells the values at the crosshair. */
    private showCross(u: uPlot, a: number): void {
        if (u.cursor.idx === null || u.cursor.idx === undefined) {
            const { cross } = this.store.state;
            u.setLegend({ idx: u.valToIdx(this.model.grid.coordinate(a, cross[a])) });
        }
    }

    private title(a: number, cross: Triple): string {
        const others = [0, 1, 2].filter((other) => other !== a);
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
            const tested = gamma && gamma.data[index] !== notTested;
            gammas.push(tested ? gamma.value(index) : null);
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
                    points: { show: false },
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
