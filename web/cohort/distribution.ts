import uPlot from 'uplot';
import { axis, bar, Chart, countAxis, countScale, drawRule, scaled } from '../views/chart';
import { byId, token } from '../views/dom';
import { counted, fixed, plain } from '../views/format';
import type { Selection } from './selection';
import { axisStart } from './statistics';

const height = 230;
const mostBins = 40;

/** How many pairs have which pass rate. */
export class Distribution {
    private readonly chart = new Chart(byId('distribution'), () => this.options(), height);
    private edges: number[] = [];

    constructor(private readonly selection: Selection) {
        selection.subscribe(() => this.draw());
    }

    draw(width?: number, tall?: number): void {
        const rates = this.selection.rates();
        const start = axisStart(rates.reduce((a, b) => Math.min(a, b), 99));
        const width_ = binWidth(100 - start);
        const count = Math.round((100 - start) / width_);
        this.edges = Array.from({ length: count + 1 }, (_, i) => start + i * width_);
        const bins = new Array<number>(count).fill(0);
        for (const rate of rates) {
            // The last bin holds its upper edge, 100 %, too.
            bins[Math.min(Math.floor((rate - start) / width_ + 1e-9), count - 1)] += 1;
        }
        const { tolerance, action } = this.selection.record.thresholds;
        // A bin that a limit cuts is of the worse kind.
        const kind = (i: number): number => (this.edges[i] >= tolerance ? 0 : this.edges[i] >= action ? 1 : 2);
        const columns = [0, 1, 2].map((wanted) =>
            this.edges.map((_, i) => (i < count && kind(i) === wanted ? bins[i] : null)),
        );
        this.chart.create([this.edges, ...columns] as uPlot.AlignedData, width, tall);
        byId('distribution').setAttribute(
            'aria-label',
            `Histogram of the pass rates of ${counted(rates.length, 'pair')}, from ${plain(start)} to 100 %`,
        );
    }

    private options(): Omit<uPlot.Options, 'width' | 'height'> {
        const { tolerance, action } = this.selection.record.thresholds;
        const rule = (value: number, colour: string) => ({
            scale: 'x',
            value,
            colour,
            dash: [4, 3],
            width: scaled(1),
        });
        const [first] = this.edges;
        return {
            cursor: { drag: { setScale: false }, points: { show: false } },
            legend: { markers: { show: false } },
            scales: {
                x: { time: false, range: () => [first, 100] },
                count: countScale,
            },
            axes: [axis('Pass rate / %', 26), countAxis('Pairs', 48)],
            series: [
                { label: 'from', value: (_, value) => `${fixed(value, 1)} %` },
                bar('Tolerance met', token('--passing-bar')),
                bar('Between', token('--between-bar')),
                bar('Below action', token('--failing-bar')),
            ],
            hooks: {
                draw: [
                    (u) => drawRule(u, rule(tolerance, token('--ink'))),
                    (u) => drawRule(u, rule(action, token('--fail'))),
                ],
            },
        };
    }
}

/** Bins so wide that there are at most 40. */
function binWidth(span: number): number {
    return [0.1, 0.25, 0.5, 1, 2.5].find((width) => span / width <= mostBins) ?? 5;
}
