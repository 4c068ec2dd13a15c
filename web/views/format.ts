/** Numbers as they are shown: a true minus sign, thin spaces in long whole numbers. */

const minus = '\u2212';
const thinSpace = '\u202f';
export const none = '\u2013';

export function fixed(value: number | null | undefined, decimals: number): string {
    if (value === null || value === undefined || !Number.isFinite(value)) {
        return none;
    }
    const text = value.toFixed(Math.max(decimals, 0));
    const isZero = Number(text) === 0;
    return isZero ? text.replace('-', '') : text.replace('-', minus);
}

export function signed(value: number, decimals: number): string {
    const text = fixed(value, decimals);
    const isPositive = value > 0 && Number(value.toFixed(Math.max(decimals, 0))) !== 0;
    return isPositive ? `+${text}` : text;
}

export function whole(value: number): string {
    const digits = Math.abs(value).toFixed(0);
    const grouped = digits.replace(/\B(?=(\d{3})+$)/g, thinSpace);
    return value < 0 ? minus + grouped : grouped;
}

/** "1 pair", "7 pairs". */
export function counted(count: number, what: string): string {
    return `${whole(count)} ${what}${count === 1 ? '' : 's'}`;
}

/** Shortest decimal notation: 3, 2.5, 0.3. */
export function plain(value: number): string {
    return String(Number(value.toPrecision(6))).replace('-', minus);
}

/**
 * A pass rate in percent, with two decimals or as many more as it takes not to round it onto or
 * across a limit: 94.998 is not shown as 95.00 when the tolerance limit is 95.
 */
export function rate(value: number | null, limits: number[]): string {
    if (value === null || !Number.isFinite(value)) {
        return none;
    }
    const misleads = (text: string) =>
        limits.some((limit) => value !== limit && Number(text) >= limit !== value >= limit);
    let decimals = 2;
    while (decimals < 6 && misleads(value.toFixed(decimals))) {
        ++decimals;
    }
    return value.toFixed(decimals);
}

export function bytes(count: number): string {
    return count < 1e6 ? `${plain(Math.round(count / 100) / 10)} kB` : `${(count / 1e6).toFixed(1)} MB`;
}

/** Keeps units on the line of their numbers. */
export function unbroken(text: string): string {
    return text.replace(/ (?=%|mm|Gy)/g, '\u00a0');
}
