import uPlot from 'uplot';
import { token } from './dom';
import { plain, whole } from './format';

/**
 * How large charts are drawn: `text` is the size of their letters in CSS pixels, `zoom` the number
 * of canvas pixels for each of those, beyond what the screen has.
 */
export interface ChartSize {
    text: number;
    zoom: number;
}

const onScreen: ChartSize = { text: 11, zoom: 1 };
let size = onScreen;

/** Charts made while `make` runs have this size. */
export function withChartSize(wanted: ChartSize, make: () => void): void {
    size = wanted;
    make();
    size = onScreen;
}

/** A length that goes with the letters, given for the screen. */
export function scaled(length: number): number {
    return (length * size.text * size.zoom) / onScreen.text;
}

/** An axis in the colours of the theme. */
export function axis(label: string, space: number, options: Partial<uPlot.Axis> = {}): uPlot.Axis {
    const font = `${Math.round(size.text * size.zoom)}px system-ui, sans-serif`;
    const { grid, ...others } = options;
    return {
        label,
        font,
        labelFont: font,
        labelSize: scaled(16),
        labelGap: 0,
        size: scaled(space),
        gap: scaled(4),
        space: scaled(options.side === 1 || options.scale ? 30 : 50),
        stroke: token('--muted'),
        grid: { stroke: token('--grid'), width: size.zoom, ...grid },
        ticks: { stroke: token('--grid'), width: size.zoom, size: scaled(4) },
        values: (_, splits) => splits.map((v) => (v === null ? '' : plain(v))),
        ...others,
    };
}

/** Bars of a histogram: those that are `null` are not drawn. */
export function bar(label: string, colour: string): uPlot.Series {
    return {
        label,
        scale: 'count',
        paths: uPlot.paths.bars?.({ size: [1, Infinity], gap: scaled(1), align: 1 }),
        fill: colour,
        stroke: colour,
        width: 0,
        points: { show: false },
        value: (_, value) => (value === null ? '–' : whole(value)),
    };
}

/** The axis of those bars' counts. */
export function countAxis(label: string, space: number): uPlot.Axis {
    return axis(label, space, {
        scale: 'count',
        values: (_, splits) => splits.map((v) => (Number.isInteger(v) ? whole(v) : '')),
    });
}

/** The scale of those bars' counts. */
export const countScale: uPlot.Scale = { range: (_, __, high) => [0, Math.max(high ?? 1, 1) * 1.05] };

export interface Rule {
    scale: string;
    value: number;
    colour: string;
    dash: number[];
    /** Its width; `scaled(1)` when the chart was made. */
    width: number;
}

/** Draws a line across the plot at a value of a scale. */
export function drawRule(u: uPlot, { scale, value, colour, dash, width }: Rule): void {
    const { min, max } = u.scales[scale];
    if (min === undefined || max === undefined || min === null || max === null) {
        return;
    }
    if (value < min || value > max) {
        return;
    }
    const { ctx, bbox } = u;
    const pixel = devicePixelRatio * width;
    const at = u.valToPos(value, scale, true);
    ctx.save();
    ctx.beginPath();
    ctx.strokeStyle = colour;
    ctx.lineWidth = pixel;
    ctx.setLineDash(dash.map((d) => d * pixel));
    if (scale === 'x') {
        ctx.moveTo(at, bbox.top);
        ctx.lineTo(at, bbox.top + bbox.height);
    } else {
        ctx.moveTo(bbox.left, at);
        ctx.lineTo(bbox.left + bbox.width, at);
    }
    ctx.stroke();
    ctx.restore();
}

/** A chart that fills its host and is made anew when the theme or the size changes. */
export class Chart {
    private plot: uPlot | null = null;

    constructor(
        private readonly host: HTMLElement,
        private readonly options: () => Omit<uPlot.Options, 'width' | 'height'>,
        private readonly height: number,
        ended?: AbortSignal,
    ) {
        ended?.addEventListener('abort', () => this.plot?.destroy());
    }

    create(data: uPlot.AlignedData, width = this.host.clientWidth, height = this.height): void {
        this.plot?.destroy();
        const { zoom } = size;
        // The chart takes its height later; who measures the page now needs it already.
        this.host.style.height = zoom === 1 ? '' : `${height * zoom}px`;
        this.host.style.setProperty('zoom', zoom === 1 ? '' : String(1 / zoom));
        const area = { width: width * zoom, height: height * zoom };
        this.plot = new uPlot({ ...this.options(), ...area }, data, this.host);
    }

    /** @param told with the plot, which has the data then */
    setData(data: uPlot.AlignedData, told?: (plot: uPlot) => void): void {
        if (this.plot) {
            this.plot.setData(data);
            told?.(this.plot);
        } else {
            this.create(data);
        }
    }
}
