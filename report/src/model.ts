import { Grid } from './grid';
import type { Report, Triple } from './report';
import { decodeVolume, ResampledField, type Field, type Volume } from './volume';

/** The doses and gamma maps of the comparison, on the voxels of the reference grid. */
export class Model {
    readonly grid: Grid;
    readonly evaluationGrid: Grid;
    readonly sameGrid: boolean;
    reference!: Volume;
    /** The evaluation on its own grid. */
    evaluationSource!: Volume;
    /** The evaluation on the reference grid: itself, or interpolated. */
    evaluation!: Field;
    private readonly gammas = new Map<number, Volume>();

    constructor(readonly report: Report) {
        this.grid = new Grid(report.grids.reference);
        this.evaluationGrid = new Grid(report.grids.evaluation);
        this.sameGrid = this.grid.sameAs(this.evaluationGrid);
    }

    async loadDoses(): Promise<void> {
        [this.reference, this.evaluationSource] = await Promise.all([
            this.decode('reference', this.grid),
            this.decode('evaluation', this.evaluationGrid),
        ]);
        this.evaluation = this.sameGrid
            ? this.evaluationSource
            : new ResampledField(this.evaluationSource, this.grid);
    }

    async loadGamma(criterion: number): Promise<void> {
        if (!this.gammas.has(criterion)) {
            const name = this.report.criteria[criterion].gammaVolume;
            this.gammas.set(criterion, await this.decode(name, this.grid));
        }
    }

    /** The gamma map of a criterion, if it is decoded already. */
    gamma(criterion: number): Volume | undefined {
        return this.gammas.get(criterion);
    }

    difference(index: number): number {
        const { perUnit } = this.reference;
        const difference = this.evaluation.value(index) - this.reference.value(index);
        // Both doses are whole numbers of the same unit on one grid: undo the division's rounding.
        return this.sameGrid ? Math.round(difference * perUnit) / perUnit : difference;
    }

    private async decode(name: string, grid: Grid): Promise<Volume> {
        const record = this.report.volumes.find((v) => v.name === name);
        if (!record) {
            throw new Error(`The volume "${name}" is missing in this page.`);
        }
        return decodeVolume(record, grid);
    }
}

/** Voxel of the highest reference dose. */
export function hottestVoxel(model: Model): Triple {
    const { data } = model.reference;
    let best = 0;
    for (let i = 1; i < data.length; ++i) {
        if (data[i] > data[best]) {
            best = i;
        }
    }
    return model.grid.voxel(best);
}
