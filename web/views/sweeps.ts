import { byId, el } from './dom';
import type { ComparisonRecord, SweepRecord } from './record';
import type { Store } from './store';
import { legendOf, limitsOf, SweepMap } from './sweepMap';

/** The rates by criterion of a record; a field whose criterion has a gamma map shows it. */
export function showSweeps(record: ComparisonRecord, store: Store): void {
    const sweeps = record.sweeps ?? [];
    byId('sweeps').hidden = sweeps.length === 0;
    if (sweeps.length === 0) {
        return;
    }
    const shown = sweeps.flatMap((sweep) => mapsOf(record, store, sweep));
    byId('sweep-maps').replaceChildren(
        ...shown.map(({ map, caption }) => el('figure', {}, el('figcaption', {}, caption), map.element)),
    );
    const chosen = shown.some(({ map }) => map.element.querySelector('button'));
    byId('sweep-note').textContent =
        legendOf(limitsOf(record, null)) + (chosen ? ' A framed field has its gamma map here: choosing it shows that.' : '');
    store.subscribe((_, changes) => {
        if (changes.has('criterion')) {
            shown.forEach(({ map }) => map.refresh());
        }
    });
}

function mapsOf(record: ComparisonRecord, store: Store, sweep: SweepRecord): { map: SweepMap; caption: string }[] {
    const criterionOf = (row: number, column: number): number =>
        record.criteria.findIndex(
            (c) =>
                c.local === sweep.local &&
                c.doseDifference === sweep.doseDifferences[row] &&
                c.distance === sweep.distances[column],
        );
    const isComputed = (row: number, column: number): boolean => criterionOf(row, column) >= 0;
    const usual = legendOf(limitsOf(record, null));
    return sweep.parts.map(({ structure, passRates }) => {
        const limits = limitsOf(record, structure);
        const legend = legendOf(limits);
        const name = structure ?? 'All tested voxels';
        const map = new SweepMap({
            rows: sweep.doseDifferences,
            columns: sweep.distances,
            local: sweep.local,
            limits,
            rate: (row, column) => passRates[row][column],
            canChoose: isComputed,
            isComputed,
            isShown: (row, column) => criterionOf(row, column) === store.state.criterion,
            onChoose: (row, column) => store.update({ criterion: criterionOf(row, column) }),
        });
        return { map, caption: legend === usual ? name : `${name}: ${legend}` };
    });
}
