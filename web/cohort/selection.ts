import type { CohortRecord, Rate, Series } from './data';

export type Verdict = 'pass' | 'investigate' | 'fail' | 'none';
export type Column = 'id' | 'group' | 'date' | 'pass_rate' | 'tested' | 'failed' | 'mean' | 'p95' | 'maximum' | 'without_noise';

export interface Choice {
    criterion: string;
    structure: string;
    /** null: all. */
    group: string | null;
    verdict: Verdict | null;
    /** Part of an id. */
    find: string;
    sortBy: Column;
    descending: boolean;
    /** Place of the pair that is marked. */
    marked: number | null;
    /** Group of the control charts. */
    chartGroup: string;
}

/** Which pairs are shown, in which order; views hear of changes. */
export class Selection {
    private readonly listeners: (() => void)[] = [];
    /** Place in the series of each pair; -1: the series does not have it. */
    private places = new Int32Array(0);
    series: Series;
    /** Places of the pairs shown, sorted. */
    shown: number[] = [];

    constructor(
        readonly record: CohortRecord,
        readonly choice: Choice,
    ) {
        this.series = this.find();
        this.refresh();
    }

    subscribe(listener: () => void): void {
        this.listeners.push(listener);
    }

    update(patch: Partial<Choice>): void {
        Object.assign(this.choice, patch);
        this.refresh();
        this.redraw();
    }

    redraw(): void {
        this.listeners.forEach((listener) => listener());
    }

    value(pair: number, column: Column): string | Rate {
        if (column === 'id' || column === 'group' || column === 'date') {
            return this.record.pairs[column][pair];
        }
        return this.figure(pair, column);
    }

    figure(pair: number, column: Exclude<Column, 'id' | 'group' | 'date'> | 'without_noise_lower' | 'without_noise_upper'): Rate {
        const place = this.places[pair];
        return place < 0 ? null : (this.series[column]?.[place] ?? null);
    }

    rate(pair: number): Rate {
        return this.figure(pair, 'pass_rate');
    }

    verdictOf(rate: Rate): Verdict {
        const { tolerance, action } = this.record.thresholds;
        if (rate === null) {
            return 'none';
        }
        if (rate >= tolerance) {
            return 'pass';
        }
        return rate >= action ? 'investigate' : 'fail';
    }

    /** Pass rates of the pairs shown, without those that have none. */
    rates(series = this.series): number[] {
        const isShown = new Uint8Array(this.record.pairs.id.length);
        this.shown.forEach((pair) => (isShown[pair] = 1));
        const rates: number[] = [];
        series.pair.forEach((pair, i) => {
            const rate = series.pass_rate[i];
            if (isShown[pair] && rate !== null) {
                rates.push(rate);
            }
        });
        return rates;
    }

    get groups(): string[] {
        return [...new Set(this.record.pairs.group)].sort();
    }

    get structures(): string[] {
        return [...new Set(this.record.series.map((s) => s.structure))].sort();
    }

    seriesOf(criterion: string, structure: string): Series | undefined {
        return this.record.series.find((s) => s.criterion === criterion && s.structure === structure);
    }

    private find(): Series {
        const { criterion, structure } = this.choice;
        return this.seriesOf(criterion, structure) ?? emptySeries(criterion, structure);
    }

    private refresh(): void {
        const { pairs } = this.record;
        const { group, verdict } = this.choice;
        const find = this.choice.find.trim().toLowerCase();
        this.series = this.find();
        this.places = new Int32Array(pairs.id.length).fill(-1);
        this.series.pair.forEach((pair, i) => (this.places[pair] = i));
        this.shown = pairs.id.flatMap((id, pair) => {
            const fits =
                (group === null || pairs.group[pair] === group) &&
                (find === '' || id.toLowerCase().includes(find)) &&
                (verdict === null || this.verdictOf(this.rate(pair)) === verdict);
            return fits ? [pair] : [];
        });
        this.sort();
    }

    private sort(): void {
        const { sortBy, descending } = this.choice;
        const sign = descending ? -1 : 1;
        const keys = this.record.pairs.id.map((_, pair) => this.value(pair, sortBy));
        this.shown.sort((a, b) => {
            const [x, y] = [keys[a], keys[b]];
            if (x === y || (x === null && y === null)) {
                return a - b;
            }
            // What has no value comes last, whichever the direction.
            if (x === null || y === null) {
                return x === null ? 1 : -1;
            }
            return sign * (x < y ? -1 : 1);
        });
    }
}

function emptySeries(criterion: string, structure: string): Series {
    return {
        criterion,
        structure,
        doseDifference: NaN,
        distance: NaN,
        local: false,
        pair: [],
        tested: [],
        failed: [],
        pass_rate: [],
        mean: [],
        p95: [],
        maximum: [],
    };
}
