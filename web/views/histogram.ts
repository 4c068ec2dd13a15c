import uPlot from 'uplot';
import { axis, bar, Chart, countAxis, countScale, drawRule, scaled } from './chart';
import { byId, token } from './dom';
import { fixed, plain } from './format';
import { nameOfCriterion, placesName } from './judged';
import type { ComparisonRecord, Criterion, PartResult } from './record';
import { nameOf, resultOf } from './structureList';
import type { Changes, State, Store } from './store';

const height = 260;
const mostBins = 80;
const shortestAxis = 1.2;
const shown: (keyof State)[] = ['criterion', 'part', 'gammaVolume', 'appearance'];

interface Bins {
    /** Edges of the bins, one more than counts. */
    edges: number[];
    counts: number[];
    /** % of the tested voxels at or below each edge. */
    cumulative: number[];
    /** Whether the last bin also holds what lies beyond it. */
    isOpen: boolean;
}

/** Gamma histogram with the cumulative curve. */
export class Histogram {
    private readonly chart: Chart;
    private bins: Bins;

    constructor(
        private readonly record: ComparisonRecord,
        private readonly store: Store,
    ) {
        this.bins = this.makeBins();
        this.chart = new Chart(byId('histogram'), () => this.options(), height, store.ended);
        store.subscribe((state, changes) => this.update(state, changes));
        const choice = byId<HTMLInputElement>('option-gammaVolume');
        choice.addEventListener('change', () => store.update({ gammaVolume: choice.checked }));
    }

    drawForPrint(width: number, tall: number): void {
        this.chart.create(this.data(), width, tall);
    }

    private update(state: State, changes: Changes): void {
        if (shown.some((key) => changes.has(key))) {
            this.bins = this.makeBins();
            this.chart.create(this.data());
            const name = nameOfCriterion(this.record.criteria[state.criterion]);
            const { passed, tested } = this.result();
            const part = this.partName();
            byId('histogram').setAttribute(
                'aria-label',
                `Histogram of gamma for ${name}${part}: ${passed} of ${tested} tested ${placesName(this.record)} at or below 1`,
            );
            byId('histogram-part').textContent = part;
        }
    }

    private result(): Criterion | PartResult {
        const { criterion, part } = this.store.state;
        return resultOf(this.record.criteria[criterion], part);
    }

    private partName(): string {
        const { part } = this.store.state;
        return part === null || !this.record.structures ? '' : `, ${nameOf(this.record.structures, part)}`;
    }

    private makeBins(): Bins {
        return binned(this.result());
    }

    /** Passing and failing voxels are two series, so that they have two colours. */
    private data(): uPlot.AlignedData {
        const { edges, counts, cumulative } = this.bins;
        if (this.store.state.gammaVolume) {
            const empty = edges.map(() => null);
            return [edges, empty, empty, cumulative.map((percent) => 100 - percent)];
        }
        const passes = (i: number) => edges[i + 1] <= 1 + 1e-9;
        const passing = edges.map((_, i) => (i < counts.length && passes(i) ? counts[i] : null));
        const failing = edges.map((_, i) => (i < counts.length && !passes(i) ? counts[i] : null));
        return [edges, passing, failing, cumulative];
    }

    private curveName(): string {
        return this.store.state.gammaVolume ? 'Voxels above γ' : 'Cumulative';
    }

    private options(): Omit<uPlot.Options, 'width' | 'height'> {
        const { edges, isOpen } = this.bins;
        const last = edges[edges.length - 1];
        const passLimit = { scale: 'x', value: 1, colour: token('--ink'), dash: [4, 3], width: scaled(1) };
        return {
            cursor: {
                drag: { setScale: false },
                points: { show: false },
                // The bin under the pointer; the cumulative curve counts it in.
                dataIdx: (u, series, closest, value) => {
                    const bin = value < u.data[0][closest] ? closest - 1 : closest;
                    return series === 3 ? bin + 1 : bin;
                },
            },
            legend: { markers: { show: false } },
            scales: {
                x: { time: false, range: () => [0, last] },
                count: countScale,
                percent: { range: () => [0, 105] },
            },
            axes: [
                axis(isOpen ? `γ (the last bar holds all above ${plain(edges[edges.length - 2])})` : 'γ', 26),
                countAxis('Tested voxels', 58),
                axis(`${this.curveName()} / %`, 42, { scale: 'percent', side: 1, grid: { show: false } }),
            ],
            series: [
                { label: 'γ from', value: (_, value) => fixed(value, 2) },
                bar('Passed', token('--passing-bar')),
                bar('Failed', token('--failing-bar')),
                {
                    label: this.curveName(),
                    scale: 'percent',
                    stroke: token('--ink'),
                    width: scaled(1.5),
                    points: { show: false },
                    value: (_, value) => (value === null ? '–' : `${fixed(value, 2)} %`),
                },
            ],
            hooks: { draw: [(u) => drawRule(u, passLimit)] },
        };
    }
}

/**
 * The bins of the record as far as there are voxels, joined until a bar is wide enough to see;
 * gamma 1 stays an edge.
 */
function binned(result: Criterion | PartResult): Bins {
    const { binWidth, counts: all } = result.histogram ?? { binWidth: 1, counts: [] };
    const perUnit = Math.max(Math.round(1 / binWidth), 1);
    const used = all.findLastIndex((count) => count > 0) + 1;
    const fine = all.slice(0, Math.max(used, Math.ceil(shortestAxis * perUnit)));
    let joined = 1;
    while (joined < perUnit && (fine.length / joined > mostBins || perUnit % joined !== 0)) {
        ++joined;
    }
    const counts: number[] = [];
    fine.forEach((count, i) => {
        const bin = Math.floor(i / joined);
        counts[bin] = (counts[bin] ?? 0) + count;
    });
    const edges = Array.from({ length: counts.length + 1 }, (_, i) => (i * joined) / perUnit);
    const total = fine.reduce((a, b) => a + b, 0);
    let sum = 0;
    const cumulative = [0, ...counts.map((count) => (100 * (sum += count)) / Math.max(total, 1))];
    const isOpen = (result.max ?? 0) > edges[edges.length - 1];
    return { edges, counts, cumulative, isOpen };
}
