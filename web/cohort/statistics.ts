/** Of pass rates in %. */
export interface Spread {
    count: number;
    mean: number;
    lowest: number;
    quartiles: [number, number, number];
    highest: number;
}

/** Linear between order statistics of sorted values. */
export function quantile(sorted: number[], share: number): number {
    const at = share * (sorted.length - 1);
    const below = Math.floor(at);
    const above = Math.min(below + 1, sorted.length - 1);
    return sorted[below] + (at - below) * (sorted[above] - sorted[below]);
}

export function spreadOf(values: number[]): Spread | null {
    if (values.length === 0) {
        return null;
    }
    const sorted = [...values].sort((a, b) => a - b);
    return {
        count: sorted.length,
        mean: sorted.reduce((a, b) => a + b, 0) / sorted.length,
        lowest: sorted[0],
        quartiles: [quantile(sorted, 0.25), quantile(sorted, 0.5), quantile(sorted, 0.75)],
        highest: sorted[sorted.length - 1],
    };
}

/** Where an axis of pass rates begins so that the lowest is on it: a multiple of 1, 5 or 10. */
export function axisStart(lowest: number): number {
    const span = 100 - lowest;
    const step = span > 40 ? 10 : span > 10 ? 5 : 1;
    return Math.max(0, Math.min(100 - step, Math.floor(lowest / step) * step));
}
