import { findClusters, type Cluster } from './clusters';
import type { GammaMap } from './gammaMap';
import type { Model } from './model';
import type { Criterion } from './record';

/** What the page works out from a gamma map. */
export interface Analysis {
    counts: MapCounts;
    bands: DoseBand[];
    clusters: Cluster[];
}

/** The analyses of the criteria. */
export class Analyses {
    private readonly known = new Map<number, Analysis>();

    constructor(private readonly model: Model) {}

    /** Makes the one of a criterion whose gamma map is there. */
    async make(criterion: number): Promise<void> {
        const gamma = this.model.gamma(criterion);
        if (gamma) {
            const counts = await countVoxels(gamma);
            const bands = await doseBands(this.model, this.model.record.criteria[criterion], gamma);
            const clusters = await findClusters(this.model, gamma);
            this.known.set(criterion, { counts, bands, clusters });
        }
    }

    /** Undefined as long as it is not made. */
    of(criterion: number): Analysis | undefined {
        return this.known.get(criterion);
    }
}

export interface MapCounts {
    tested: number;
    failed: number;
}

/** Counts the voxels of a gamma map, to hold them against the results of the computation. */
async function countVoxels(gamma: GammaMap): Promise<MapCounts> {
    const counts = { tested: 0, failed: 0 };
    await gamma.visitTested((_, stored) => {
        ++counts.tested;
        counts.failed += stored > gamma.perUnit ? 1 : 0;
    });
    return counts;
}

export interface DoseBand {
    /** % of the normalisation dose; the last band has no upper end. */
    from: number;
    to: number;
    tested: number;
    failed: number;
    meanGamma: number;
}

const bandWidth = 10;
const lastBandFrom = 110;

/**
 * Tested voxels by reference dose, in bands of 10 % of the normalisation dose, upper ends included
 * as the cut-off is excluded. Ends are rounded as the stored doses are, so that rounding does not
 * carry a dose of 100 % into the band above it.
 */
async function doseBands(model: Model, criterion: Criterion, gamma: GammaMap): Promise<DoseBand[]> {
    const { data, perUnit } = model.reference;
    const percent = criterion.normalisationDose / 100;
    const first = Math.min(Math.floor(criterion.cutoffPercent / bandWidth), lastBandFrom / bandWidth);
    const starts: number[] = [];
    for (let from = first * bandWidth; from <= lastBandFrom; from += bandWidth) {
        starts.push(from);
    }
    const ends = starts.slice(1).map((end) => Math.round(end * percent * perUnit));
    const sums = starts.map(() => ({ tested: 0, failed: 0, gamma: 0 }));
    await gamma.visitTested((index, stored) => {
        let band = 0;
        while (band < ends.length && data[index] > ends[band]) {
            ++band;
        }
        const sum = sums[band];
        ++sum.tested;
        sum.failed += stored > gamma.perUnit ? 1 : 0;
        sum.gamma += stored / gamma.perUnit;
    });
    const bands = sums.map((sum, i) => ({
        from: Math.max(starts[i], criterion.cutoffPercent),
        to: starts[i + 1] ?? Infinity,
        tested: sum.tested,
        failed: sum.failed,
        meanGamma: sum.gamma / sum.tested,
    }));
    const used = bands.map((b) => b.tested > 0);
    return bands.slice(used.indexOf(true), used.lastIndexOf(true) + 1);
}
