import { byId, el } from './dom';
import type { ComparisonRecord, SweepRecord } from './record';
import type { Store } from './store';
import { SweepMap } from './sweepMap';

/** The rates by criterion of a record; a field whose criterion has a gamma map shows it. */
export function showSweeps(record: ComparisonRecord, store: Store): void {
    const sweeps = record.sweeps ?? [];
    byId('sweeps').hidden = sweeps.length === 0;
    byId('sweep-maps').replaceChildren(...sweeps.flatMap((sweep) => mapsOf(record, store, sweep)));
}

function mapsOf(record: ComparisonRecord, store: Store, sweep: SweepRecord): HTMLElement[] {
    const { limits } = record.criteria[0];
    const criterionOf = (row: number, column: number): number =>
        record.criteria.findIndex(
            (c) =>
                c.local === sweep.local &&
                c.doseDifference === sweep.doseDifferences[row] &&
                c.distance === sweep.distances[column],
        );
    return sweep.parts.map(({ structure, passRates }) => {
        const map = new SweepMap({
            rows: sweep.doseDifferences,
            columns: sweep.distances,
            local: sweep.local,
            limits,
            rate: (row, column) => passRates[row][column],
            canChoose: (row, column) => criterionOf(row, column) >= 0,
            onChoose: (row, column) => store.update({ criterion: criterionOf(row, column) }),
        });
        return el('figure', {}, el('figcaption', {}, structure ?? 'All tested voxels'), map.element);
    });
}
