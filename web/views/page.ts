import 'uplot/dist/uPlot.min.css';
import './style.css';
import { Analyses } from './analysis';
import type { ComparisonData } from './comparison';
import { carriedOver, type Shown } from './carriedOver';
import { byId, el } from './dom';
import { DoseVolume } from './doseVolume';
import { ExplanationCard } from './explanation';
import { showFigures } from './figureTable';
import { showGoals } from './goals';
import { Histogram } from './histogram';
import { hottestVoxel, Model } from './model';
import { showNoise } from './noiseCard';
import { inPieces, pause } from './pieces';
import { setUpPrint } from './print';
import { pointsOf } from './pointList';
import { PointView } from './pointView';
import { Profiles } from './profiles';
import { Readout } from './readout';
import type { ComparisonRecord } from './record';
import { setUpScrolling } from './scrolling';
import { Store, type State } from './store';
import { StructureList } from './structureList';
import { Summary } from './summary';
import { showSweeps } from './sweeps';
import { Tables } from './tables';
import { drawnAtFirst } from './targets';
import { setUpTheme } from './theme';
import { Viewer } from './viewer';

function initialState(record: ComparisonRecord): State {
    return {
        criterion: 0,
        layer: 'gamma',
        cross: [0, 0, 0],
        pointer: null,
        doseWindow: { low: 0, high: record.criteria[0].normalisationDose },
        differenceWindow: { low: -10, high: 10 },
        gammaWindow: { low: 0, high: 2 },
        uncertaintyWindow: { low: -3, high: 3 },
        isodoses: true,
        crosshair: true,
        smooth: false,
        wholeGrid: false,
        structures: drawnAtFirst(record.structures?.list ?? []),
        part: null,
        gammaVolume: false,
        appearance: 0,
    };
}

async function highestDose({ reference, evaluationSource }: Model): Promise<number> {
    let highest = 0;
    for (const { data } of [reference, evaluationSource]) {
        await inPieces(data.length, (from, to) => {
            for (let i = from; i < to; ++i) {
                highest = data[i] > highest ? data[i] : highest;
            }
        });
    }
    return highest / reference.perUnit;
}

/** For a page that shows one comparison after another. */
export interface Replacing {
    /** Puts fresh elements of page.html in the place of those of the comparison before. */
    place(shown: Shown): void;
    /** What was shown before: as much of it as still makes sense stays as it is. */
    before: Shown | null;
    /** Ends what this comparison listens to, when the next one is placed. */
    ended: AbortSignal;
}

/**
 * Shows a comparison in the elements of page.html, where no other one was shown before. The numbers
 * are there at once; the maps follow as they come. Where it replaces another one, that one stays
 * until all is there. Rejects with the signal's reason if it is aborted meanwhile.
 */
export async function showComparison(data: ComparisonData, replacing?: Replacing): Promise<void> {
    const { record } = data;
    const store = new Store(initialState(record), replacing?.ended);
    const { state } = store;
    const begin = async (): Promise<void> => {
        if (replacing) {
            Object.assign(state, replacing.before && carriedOver(replacing.before, record));
            replacing.place({ record, state });
            await pause();
        }
        setUpTheme(store);
        new Summary(record, store);
        showGoals(record.goals ?? [], true);
        if (record.structures) {
            showFigures(record.structures, record.doseUnit, true);
        }
        showNoise(record);
        byId('page').classList.toggle('flat', record.measurements?.reference?.kind === 'plane');
        byId('page').hidden = false;
        setUpScrolling(replacing?.ended);
    };
    if (!replacing) {
        await begin();
    }
    if (pointsOf(record, 0)) {
        if (replacing) {
            await begin();
        }
        await showPoints(record, store);
        return;
    }
    const model = new Model(data);
    const analyses = new Analyses(model);
    await load(model, analyses);
    const maximum = await highestDose(model);
    const cross = analyses.of(0)?.clusters[0]?.peak ?? (await hottestVoxel(model));
    store.ended.throwIfAborted();
    Object.assign(state, { cross, doseWindow: { low: 0, high: maximum } });
    if (replacing) {
        await begin();
        await pause();
    }
    await buildViews(model, store, analyses, maximum);
    document.documentElement.dataset.state = 'ready';

    for (let i = 1; i < record.criteria.length; ++i) {
        await model.loadGamma(i);
        await analyses.make(i);
        store.ended.throwIfAborted();
        await store.announce(state.criterion === i ? 'criterion' : 'pointer');
    }
    document.documentElement.dataset.state = 'complete';
}

/** What has to be there before anything of the maps is shown. */
async function load(model: Model, analyses: Analyses): Promise<void> {
    await Promise.all([model.loadDoses(), model.loadGamma(0)]);
    await analyses.make(0);
    if (model.record.structures) {
        await model.shapes.load();
    }
}

/** Points have no slices, no profiles and nothing that is connected. */
async function showPoints(record: ComparisonRecord, store: Store): Promise<void> {
    for (const id of ['viewer', 'profiles-card', 'bands', 'clusters']) {
        byId(id).hidden = true;
    }
    const histogram = new Histogram(record, store);
    new PointView(record, store);
    setUpPrint({ store, viewer: null, profiles: null, histogram, doseVolume: null });
    await store.announce('criterion', 'part', 'appearance');
    document.documentElement.dataset.state = 'complete';
}

async function buildViews(model: Model, store: Store, analyses: Analyses, maximum: number): Promise<void> {
    const { record } = model;
    const viewer = new Viewer(model, store, maximum);
    await pause();
    new Readout(model, store);
    const profiles = new Profiles(model, store);
    const histogram = new Histogram(record, store);
    new Tables(model, store, analyses);
    showSweeps(record, store);
    if (record.explanation) {
        new ExplanationCard(model, store, record.explanation);
    }
    const doseVolume = record.structures ? new DoseVolume(model, store) : null;
    await pause();
    if (record.structures) {
        new StructureList(model, store);
    }
    setUpPrint({ store, viewer, profiles, histogram, doseVolume });
    await store.announce('criterion', 'structures', 'part', 'cross', 'appearance');
    store.ended.throwIfAborted();
}

/** Tells why a comparison cannot be shown. */
export function showFailure(error: unknown): void {
    const reason = error instanceof Error ? error.message : String(error);
    document.body.prepend(el('p', { class: 'failure', role: 'alert' }, reason));
    document.documentElement.dataset.state = 'failed';
}
