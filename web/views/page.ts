import 'uplot/dist/uPlot.min.css';
import './style.css';
import { Analyses } from './analysis';
import type { ComparisonData } from './comparison';
import { byId, el } from './dom';
import { DoseVolume } from './doseVolume';
import { ExplanationCard } from './explanation';
import { Histogram } from './histogram';
import { hottestVoxel, Model } from './model';
import { setUpPrint } from './print';
import { pointsOf } from './pointList';
import { PointView } from './pointView';
import { Profiles } from './profiles';
import { Readout } from './readout';
import type { ComparisonRecord } from './record';
import { Store } from './store';
import { StructureList } from './structureList';
import { Summary } from './summary';
import { showSweeps } from './sweeps';
import { Tables } from './tables';
import { setUpTheme } from './theme';
import { Viewer } from './viewer';

function initialStore(record: ComparisonRecord): Store {
    return new Store({
        criterion: 0,
        layer: 'gamma',
        cross: [0, 0, 0],
        pointer: null,
        doseWindow: { low: 0, high: record.criteria[0].normalisationDose },
        differenceWindow: { low: -10, high: 10 },
        gammaWindow: { low: 0, high: 2 },
        isodoses: true,
        crosshair: true,
        smooth: false,
        wholeGrid: false,
        structures: outlinedAtFirst(record),
        part: null,
        gammaVolume: false,
        appearance: 0,
    });
}

/** Not the outline of the body, and not so many that they hide what is beneath. */
function outlinedAtFirst(record: ComparisonRecord): number[] {
    const most = 10;
    const list = record.structures?.list ?? [];
    const inner = list.flatMap(({ type, voxels }, i) => (type !== 'EXTERNAL' && voxels > 0 ? [i] : []));
    return inner.slice(0, most);
}

function highestDose(model: Model): number {
    const highest = (data: Int16Array): number => data.reduce((a, b) => Math.max(a, b), 0);
    const stored = Math.max(highest(model.reference.data), highest(model.evaluationSource.data));
    return stored / model.reference.perUnit;
}

/**
 * Shows a comparison in the elements of page.html. The numbers are there at once; the maps
 * follow as they come.
 */
export async function showComparison(data: ComparisonData): Promise<void> {
    const { record } = data;
    const store = initialStore(record);
    setUpTheme(store);
    new Summary(record, store);
    byId('page').hidden = false;

    if (pointsOf(record, 0)) {
        showPoints(record, store);
        return;
    }
    byId('page').classList.toggle('flat', record.measurements?.reference?.kind === 'plane');
    const model = new Model(data);
    await Promise.all([model.loadDoses(), model.loadGamma(0)]);
    const maximum = highestDose(model);
    const viewer = new Viewer(model, store, maximum);
    new Readout(model, store);
    const profiles = new Profiles(model, store);
    const histogram = new Histogram(record, store);
    const analyses = new Analyses(model);
    new Tables(model, store, analyses);
    showSweeps(record, store);
    if (record.explanation) {
        new ExplanationCard(model, store, record.explanation);
    }
    const doseVolume = record.structures ? new DoseVolume(model, store) : null;
    if (record.structures) {
        await model.shapes.load();
        new StructureList(model, store);
    }
    setUpPrint({ store, viewer, profiles, histogram, doseVolume });
    const worst = analyses.of(0)?.clusters[0];
    store.update({
        cross: worst?.peak ?? hottestVoxel(model),
        doseWindow: { low: 0, high: maximum },
    });
    store.announce('criterion', 'structures', 'part', 'appearance');
    document.documentElement.dataset.state = 'ready';

    for (let i = 1; i < record.criteria.length; ++i) {
        await model.loadGamma(i);
        store.announce(store.state.criterion === i ? 'criterion' : 'pointer');
    }
    document.documentElement.dataset.state = 'complete';
}

/** Points have no slices, no profiles and nothing that is connected. */
function showPoints(record: ComparisonRecord, store: Store): void {
    for (const id of ['viewer', 'profiles-card', 'bands', 'clusters']) {
        byId(id).hidden = true;
    }
    const histogram = new Histogram(record, store);
    new PointView(record, store);
    setUpPrint({ store, viewer: null, profiles: null, histogram, doseVolume: null });
    store.announce('criterion', 'part', 'appearance');
    document.documentElement.dataset.state = 'complete';
}

/** Tells why a comparison cannot be shown. */
export function showFailure(error: unknown): void {
    const reason = error instanceof Error ? error.message : String(error);
    document.body.prepend(el('p', { class: 'failure', role: 'alert' }, reason));
    document.documentElement.dataset.state = 'failed';
}
