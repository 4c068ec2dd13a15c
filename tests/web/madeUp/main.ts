/** A page that makes its comparison up where it runs: nothing of it is in the document. */
import { gammaOverflow, notTested, type ComparisonData, type StoredVolume } from '../views/comparison';
import { GammaMap } from '../views/gammaMap';
import { Grid } from '../views/grid';
import { showComparison, showFailure } from '../views/page';
import type { ComparisonRecord, Criterion, GridRecord, Role, Triple } from '../views/record';

const size: Triple = [6, 5, 4];
const grid: GridRecord = { size, spacing: [2, 3, 4], origin: [10, 20, 30] };

function criterion(label: string, counts: number[], failed: number): Criterion {
    const tested = 90;
    const passed = tested - failed;
    return {
        label, doseDifference: 3, distance: 3, local: false,
        cutoffPercent: 10, cutoffDose: 1.543, normalisationDose: 15.43,
        tested, passed, failed, passRate: (100 * passed) / tested,
        mean: null, p95: null, p99: null, max: null,
        verdict: 'pass', limits: { tolerance: 95, action: 90 },
        histogram: { binWidth: 0.5, counts },
    };
}

const record: ComparisonRecord = {
    program: { name: 'made up', version: '1' },
    created: '2026-03-01T12:30:00Z',
    files: { reference: { name: 'planned' }, evaluation: { name: 'delivered' } },
    grids: { reference: grid, evaluation: grid },
    doseUnit: 'Gy',
    criteria: [criterion('first', [87, 0, 2, 1], 3), criterion('second', [90], 0)],
};

function filled(decimals: number, value: (...voxel: Triple) => number): StoredVolume {
    const values = new Int16Array(size[0] * size[1] * size[2]);
    const place = (i: number): Triple => [i % 6, Math.floor(i / 6) % 5, Math.floor(i / 30)];
    return { decimals, values: values.map((_, i) => value(...place(i))) };
}

function gammas(value: (...voxel: Triple) => number): Promise<GammaMap> {
    return GammaMap.of(new Grid(grid), filled(3, value));
}

const failing: Record<string, number> = { '3,2,1': 1500, '4,2,1': 1200, '1,4,3': gammaOverflow };

class MadeUp implements ComparisonData {
    readonly record = record;

    async dose(role: Role): Promise<StoredVolume> {
        note(role);
        const more = role === 'evaluation' ? 5 : 0;
        return filled(2, (i, j, k) => 1000 + 100 * i + 10 * j + k + more);
    }

    async gamma(criterion: number): Promise<GammaMap> {
        note(`gamma ${criterion}`);
        if (criterion === 0) {
            return gammas((i, j, k) => (k === 0 ? notTested : failing[`${i},${j},${k}`] ?? 500));
        }
        await new Promise((goOn) => addEventListener('go-on', goOn, { once: true }));
        if (location.hash === '#unable') {
            throw new Error('The second gamma map cannot be made up.');
        }
        return gammas((_i, _j, k) => (k === 0 ? notTested : 250));
    }
}

/** Volumes in the order the views ask for them, for the test to see. */
function note(name: string): void {
    const { dataset } = document.documentElement;
    dataset.asked = [dataset.asked, name].filter(Boolean).join(', ');
}

showComparison(new MadeUp()).catch(showFailure);
