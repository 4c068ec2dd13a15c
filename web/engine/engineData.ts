/** A comparison of the engine, as the views want it. */

import type { EngineClient } from './client';
import type { ComparisonRequest } from './request';
import type { ComparisonData, StoredVolume, StructureShape } from '../views/comparison';
import type { GammaMap } from '../views/gammaMap';
import { Grid } from '../views/grid';
import type { ComparisonRecord, Role } from '../views/record';

/** Holds all that the views may ask for, so that the engine is free for the next comparison. */
export class EngineData implements ComparisonData {
    private constructor(
        readonly record: ComparisonRecord,
        private readonly doses: Record<Role, StoredVolume>,
        private readonly gammas: GammaMap[],
        private readonly structures: StructureShape[],
        private readonly after: GammaMap | null,
        differences: StoredVolume | null,
    ) {
        this.inUncertainties = differences ? async () => differences : undefined;
    }

    readonly inUncertainties?: () => Promise<StoredVolume>;

    /** Rejects as the client's calls do. */
    static async load(record: ComparisonRecord, request: ComparisonRequest, client: EngineClient): Promise<EngineData> {
        const doses = {
            reference: await client.volume(request, 'reference'),
            evaluation: await client.volume(request, 'evaluation'),
        };
        const grid = new Grid(record.grids.reference);
        const gammas: GammaMap[] = [];
        for (const i of record.criteria.keys()) {
            gammas.push(await client.gamma(request, grid, i));
        }
        const structures: StructureShape[] = [];
        for (const i of record.structures?.list.keys() ?? []) {
            const runs = await client.structure(request, i, 'voxels');
            const contours = await client.structure(request, i, 'contours');
            structures.push({ runs: runs ?? new Int32Array(0), contours });
        }
        const after = record.explanation ? await client.gamma(request, grid, null) : null;
        const differences = record.noise ? await client.volume(request, 'inUncertainties') : null;
        return new EngineData(record, doses, gammas, structures, after, differences);
    }

    async dose(role: Role): Promise<StoredVolume> {
        return this.doses[role];
    }

    async gamma(criterion: number): Promise<GammaMap> {
        return this.gammas[criterion];
    }

    async gammaAfter(): Promise<GammaMap> {
        if (!this.after) {
            throw new Error('Nothing was explained in this comparison.');
        }
        return this.after;
    }

    async structure(index: number): Promise<StructureShape> {
        return this.structures[index];
    }
}
