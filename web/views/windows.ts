import type { ComparisonRecord, Criterion } from './record';
import type { Layer, State, Window } from './store';

/** Ranges of the colour scale a reader can choose from, by layer. */
export interface Preset {
    name: string;
    window: Window;
}

type WindowKey = 'doseWindow' | 'differenceWindow' | 'gammaWindow' | 'uncertaintyWindow';

export function windowKey(layer: Layer): WindowKey {
    switch (layer) {
        case 'gamma':
            return 'gammaWindow';
        case 'difference':
            return 'differenceWindow';
        case 'uncertainties':
            return 'uncertaintyWindow';
        default:
            return 'doseWindow';
    }
}

export function layerUnit(layer: Layer, record: ComparisonRecord): string {
    switch (layer) {
        case 'gamma':
            return 'γ';
        case 'difference':
            return '% of norm.';
        case 'uncertainties':
            return 'u';
        default:
            return record.doseUnit;
    }
}

export function presets(layer: Layer, criterion: Criterion, maximumDose: number): Preset[] {
    switch (layer) {
        case 'gamma':
            return gammaPresets(criterion);
        case 'difference':
            return [2, 5, 10, 20, 100].map((p) => ({
                name: `±${p} %`,
                window: { low: -p, high: p },
            }));
        case 'uncertainties':
            return [2, 3, 5, 10].map((u) => ({
                name: `±${u} u`,
                window: { low: -u, high: u },
            }));
        default:
            return dosePresets(criterion.normalisationDose, maximumDose);
    }
}

function dosePresets(normalisation: number, maximum: number): Preset[] {
    const percent = (low: number, high: number): Window => ({
        low: (low / 100) * normalisation,
        high: (high / 100) * normalisation,
    });
    return [
        { name: 'Full range', window: { low: 0, high: maximum } },
        { name: 'Low dose: 0–30 %', window: percent(0, 30) },
        { name: 'Medium dose: 20–80 %', window: percent(20, 80) },
        { name: 'High dose: 80–110 %', window: percent(80, 110) },
        { name: 'Target: 95–107 %', window: percent(95, 107) },
    ];
}

function gammaPresets(criterion: Criterion): Preset[] {
    const largest = Math.min(Math.max(criterion.max ?? 2, 1.1), 32.767);
    return [
        { name: '0–1.5', window: { low: 0, high: 1.5 } },
        { name: '0–2', window: { low: 0, high: 2 } },
        { name: '0–3', window: { low: 0, high: 3 } },
        { name: '0–5', window: { low: 0, high: 5 } },
        { name: 'To the maximum', window: { low: 0, high: Number(largest.toFixed(3)) } },
    ];
}

/** The range a reader typed, brought into what the layer's scale can show; null if it is none. */
export function customWindow(state: State, low: number, high: number): Window | null {
    if (!Number.isFinite(low) || !Number.isFinite(high)) {
        return null;
    }
    if (state.layer === 'gamma') {
        return high > 1 ? { low: 0, high } : null;
    }
    return high > low ? { low, high } : null;
}

/** About `wanted` round numbers from low to high. */
export function ticks(low: number, high: number, wanted: number): number[] {
    const raw = (high - low) / wanted;
    const power = 10 ** Math.floor(Math.log10(raw));
    const step = [1, 2, 2.5, 5, 10].map((m) => m * power).find((s) => s >= raw) ?? 10 * power;
    const result: number[] = [];
    for (let i = Math.ceil(low / step - 1e-9); i * step <= high + 1e-9 * step; ++i) {
        result.push(Number((i * step).toPrecision(12)));
    }
    return result;
}
