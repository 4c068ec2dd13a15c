import type { Layer, State } from './store';

/** Packed colour as a little-endian Uint32 view of image data holds it: 0xAABBGGRR. */
export type Packed = number;
type Rgb = [number, number, number];

const steps = 256;

/** The perceptually uniform map "viridis", readable with every kind of colour blindness. */
const viridis = [
    '#440154', '#481a6c', '#472f7d', '#414487', '#39568c', '#31688e', '#2a788e', '#23888e',
    '#1f988b', '#22a884', '#35b779', '#54c568', '#7ad151', '#a5db36', '#d2e21b', '#fde725',
];
const colder = ['#9fd3ff', '#57a7e8', '#1f6fb5', '#123a5e', '#10161c'];
const hotter = ['#10161c', '#5c2c10', '#c2571a', '#f08a3c', '#ffd9ae'];
const passing = ['#0b2450', '#1c4f8c', '#4a86bf', '#8bb8dc', '#d3e5f3'];
const failing = ['#ffc266', '#f98b3b', '#e0532a', '#b3221f', '#7a0c1c'];

/** Where the evaluation grid does not reach. */
export const outside: Packed = pack([58, 64, 72]);

function parse(hex: string): Rgb {
    const n = parseInt(hex.slice(1), 16);
    return [n >> 16, (n >> 8) & 255, n & 255];
}

function pack([r, g, b]: Rgb): Packed {
    return ((255 << 24) | (b << 16) | (g << 8) | r) >>> 0;
}

function ramp(anchors: string[]): Uint32Array {
    const colours = anchors.map(parse);
    return Uint32Array.from({ length: steps }, (_, i) => {
        const f = (i / (steps - 1)) * (colours.length - 1);
        const lower = Math.min(Math.floor(f), colours.length - 2);
        const mix = (c: number) =>
            Math.round(colours[lower][c] + (f - lower) * (colours[lower + 1][c] - colours[lower][c]));
        return pack([mix(0), mix(1), mix(2)]);
    });
}

const doseRamp = ramp(viridis);
const differenceRamp = ramp([...colder, ...hotter.slice(1)]);
const passRamp = ramp(passing);
const failRamp = ramp(failing);
const greyRamp = ramp(['#0b0d10', '#8d939b']);

function pick(colours: Uint32Array, fraction: number): Packed {
    if (Number.isNaN(fraction)) {
        return outside;
    }
    return colours[Math.min(Math.max(Math.floor(fraction * steps), 0), steps - 1)];
}

/** From a value of the layer to its colour, over the range [low, high]. */
export interface Scale {
    low: number;
    high: number;
    colour(value: number): Packed;
}

function linear(colours: Uint32Array, low: number, high: number): Scale {
    const perUnit = 1 / Math.max(high - low, 1e-12);
    return { low, high, colour: (value) => pick(colours, (value - low) * perUnit) };
}

/** Blue up to gamma 1, orange to red above it, with a break between the two. */
function gammaScale(high: number): Scale {
    const perUnit = 1 / Math.max(high - 1, 1e-12);
    return {
        low: 0,
        high,
        colour: (value) =>
            value > 1 ? pick(failRamp, (value - 1) * perUnit) : pick(passRamp, value),
    };
}

export function greyScale(high: number): Scale {
    return linear(greyRamp, 0, high);
}

/** Doses in dose units, differences in percent of the normalisation dose or in uncertainties. */
export function layerScale(layer: Layer, state: State): Scale {
    switch (layer) {
        case 'gamma':
            return gammaScale(state.gammaWindow.high);
        case 'difference':
            return linear(differenceRamp, state.differenceWindow.low, state.differenceWindow.high);
        case 'uncertainties':
            return linear(differenceRamp, state.uncertaintyWindow.low, state.uncertaintyWindow.high);
        default:
            return linear(doseRamp, state.doseWindow.low, state.doseWindow.high);
    }
}

export function css(colour: Packed): string {
    return `rgb(${colour & 255} ${(colour >> 8) & 255} ${(colour >> 16) & 255})`;
}
