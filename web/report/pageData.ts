import type { ComparisonData, StoredVolume, StructureShape } from '../views/comparison';
import { GammaMap } from '../views/gammaMap';
import { Grid } from '../views/grid';
import type { Role } from '../views/record';
import type { PageRecord } from './pageRecord';
import { readIntegers, readVolume } from './pageVolume';

/** The comparison that a program has written into this page. */
export class PageData implements ComparisonData {
    readonly gammaAfter?: () => Promise<GammaMap>;
    readonly inUncertainties?: () => Promise<StoredVolume>;

    constructor(readonly record: PageRecord) {
        const { explanation, noise } = record;
        if (explanation) {
            this.gammaAfter = () => this.readGamma(explanation.gammaVolume);
        }
        if (noise) {
            this.inUncertainties = () => this.read(noise.differenceVolume, 'reference');
        }
    }

    dose(role: Role): Promise<StoredVolume> {
        return this.read(role, role);
    }

    gamma(criterion: number): Promise<GammaMap> {
        return this.readGamma(this.record.criteria[criterion].gammaVolume);
    }

    async structure(index: number): Promise<StructureShape> {
        const structure = this.record.structures?.list[index];
        if (!structure) {
            throw new Error(`The structure ${index} is missing in this page.`);
        }
        const { voxelsElement, contoursElement } = structure;
        return {
            runs: await readIntegers(voxelsElement),
            contours: contoursElement ? await readIntegers(contoursElement) : null,
        };
    }

    private async readGamma(name: string): Promise<GammaMap> {
        return GammaMap.of(new Grid(this.record.grids.reference), await this.read(name, 'reference'));
    }

    private async read(name: string, grid: Role): Promise<StoredVolume> {
        const volume = this.record.volumes.find((v) => v.name === name);
        if (!volume) {
            throw new Error(`The volume "${name}" is missing in this page.`);
        }
        const [nx, ny, nz] = this.record.grids[grid].size;
        return readVolume(volume, nx * ny * nz);
    }
}
