/** A comparison of the engine, as the views want it. */

import type { EngineClient } from './client';
import type { CompareRequest } from './messages';
import type { ComparisonData, StoredVolume, StructureShape } from '../views/comparison';
import type { ComparisonRecord, Role } from '../views/record';

export class EngineData implements ComparisonData {
    constructor(
        readonly record: ComparisonRecord,
        private readonly request: CompareRequest,
        private readonly client: EngineClient,
    ) {}

    dose(role: Role): Promise<StoredVolume> {
        return this.client.volume(this.request, role);
    }

    gamma(criterion: number): Promise<StoredVolume> {
        return this.client.volume(this.request, 'gamma', criterion);
    }

    async structure(index: number): Promise<StructureShape> {
        const runs = await this.client.structure(this.request, index, 'voxels');
        const contours = await this.client.structure(this.request, index, 'contours');
        return { runs: runs ?? new Int32Array(0), contours };
    }
}
