import type { ComparisonData } from './comparison';
import { wholeGrid, widened, type Box } from './frame';
import type { GammaMap } from './gammaMap';
import { Grid } from './grid';
import { inPieces } from './pieces';
import type { ComparisonRecord, Triple } from './record';
import { StructureShapes } from './structureShapes';
import { ResampledField, Volume, type Field } from './volume';

/** mm around the tested voxels that the views show. */
const focusMargin = 15;

/** The doses and gamma maps of the comparison, on the voxels of the reference grid. */
export class Model {
    readonly record: ComparisonRecord;
    readonly grid: Grid;
    readonly evaluationGrid: Grid;
    readonly sameGrid: boolean;
    /** Whether the reference has places without a dose, where its values are NaN. */
    readonly hasGaps: boolean;
    reference!: Volume;
    /** The evaluation on its own grid. */
    evaluationSource!: Volume;
    /** The evaluation on the reference grid: itself, or interpolated. */
    evaluation!: Field;
    /** Differences in units of their uncertainty; null: the uncertainties were not asked for. */
    inUncertainties: Volume | null = null;
    /** Where voxels were tested for the first criterion, with a margin. */
    focus!: Box;
    readonly shapes: StructureShapes;
    private readonly gammas = new Map<number, GammaMap>();

    constructor(private readonly data: ComparisonData) {
        this.record = data.record;
        this.grid = new Grid(data.record.grids.reference);
        this.evaluationGrid = new Grid(data.record.grids.evaluation);
        this.shapes = new StructureShapes(data, data.record.structures?.list.length ?? 0);
        const measured = data.record.measurements?.reference;
        this.hasGaps = !!measured && measured.measured < measured.places;
        this.sameGrid = this.grid.sameAs(this.evaluationGrid);
    }

    async loadDoses(): Promise<void> {
        const [reference, evaluation] = await Promise.all([
            this.data.dose('reference'),
            this.data.dose('evaluation'),
        ]);
        this.reference = new Volume(this.grid, reference);
        this.evaluationSource = new Volume(this.evaluationGrid, evaluation);
        this.evaluation = this.sameGrid
            ? this.evaluationSource
            : await ResampledField.of(this.evaluationSource, this.grid);
        const differences = await this.data.inUncertainties?.();
        this.inUncertainties = differences ? new Volume(this.grid, differences) : null;
    }

    async loadGamma(criterion: number): Promise<void> {
        if (!this.gammas.has(criterion)) {
            const gamma = await this.data.gamma(criterion);
            this.focus ??= widened(await testedBox(gamma), this.grid, focusMargin);
            this.gammas.set(criterion, gamma);
        }
    }

    get canShowAfter(): boolean {
        return this.data.gammaAfter !== undefined;
    }

    /** The gamma map after the change of the explanation. */
    async loadAfter(): Promise<GammaMap | null> {
        return (await this.data.gammaAfter?.()) ?? null;
    }

    /** The gamma map of a criterion, if it is there already. */
    gamma(criterion: number): GammaMap | undefined {
        return this.gammas.get(criterion);
    }

    difference(index: number): number {
        const { perUnit } = this.reference;
        const difference = this.evaluation.value(index) - this.reference.value(index);
        // Both doses are whole numbers of the same unit on one grid: undo the division's rounding.
        return this.sameGrid ? Math.round(difference * perUnit) / perUnit : difference;
    }
}

/** Voxel of the highest reference dose. */
export async function hottestVoxel(model: Model): Promise<Triple> {
    const { data } = model.reference;
    let best = 0;
    await inPieces(data.length, (begin, end) => {
        for (let i = begin; i < end; ++i) {
            if (data[i] > data[best]) {
                best = i;
            }
        }
    });
    return model.grid.voxel(best);
}

/** The smallest box around the tested voxels; the whole grid when there are none. */
async function testedBox(gamma: GammaMap): Promise<Box> {
    const { grid } = gamma;
    const from: Triple = [Infinity, Infinity, Infinity];
    const to: Triple = [-1, -1, -1];
    await gamma.visitRows((first, last) => {
        const [i, j, k] = grid.voxel(first);
        from[0] = Math.min(from[0], i);
        from[1] = Math.min(from[1], j);
        from[2] = Math.min(from[2], k);
        to[0] = Math.max(to[0], i + last - first);
        to[1] = Math.max(to[1], j);
        to[2] = k;
    });
    return to[2] < 0 ? wholeGrid(grid) : { from, to };
}
