import 'uplot/dist/uPlot.min.css';
import '../views/style.css';
import { Analyses } from '../views/analysis';
import { byId, el } from '../views/dom';
import { Histogram } from '../views/histogram';
import { hottestVoxel, Model } from '../views/model';
import { setUpPrint } from '../views/print';
import { Profiles } from '../views/profiles';
import { Readout } from '../views/readout';
import { readReport, type Report } from '../views/record';
import { Store } from '../views/store';
import { Summary } from '../views/summary';
import { Tables } from '../views/tables';
import { setUpTheme } from '../views/theme';
import { Viewer } from '../views/viewer';

function initialStore(report: Report): Store {
    return new Store({
        criterion: 0,
        layer: 'gamma',
        cross: [0, 0, 0],
        pointer: null,
        doseWindow: { low: 0, high: report.criteria[0].normalisationDose },
        differenceWindow: { low: -10, high: 10 },
        gammaWindow: { low: 0, high: 2 },
        isodoses: true,
        crosshair: true,
        smooth: false,
        wholeGrid: false,
        appearance: 0,
    });
}

function highestDose(model: Model): number {
    const highest = (data: Int16Array): number => data.reduce((a, b) => Math.max(a, b), 0);
    const stored = Math.max(highest(model.reference.data), highest(model.evaluationSource.data));
    return stored / model.reference.perUnit;
}

/** The numbers are there at once; the maps follow as they are decoded. */
async function start(): Promise<void> {
    const report = readReport();
    const store = initialStore(report);
    setUpTheme(store);
    new Summary(report, store);
    byId('page').hidden = false;

    const model = new Model(report);
    await Promise.all([model.loadDoses(), model.loadGamma(0)]);
    const maximum = highestDose(model);
    const viewer = new Viewer(model, store, maximum);
    new Readout(model, store);
    const profiles = new Profiles(model, store);
    const histogram = new Histogram(report, store);
    const analyses = new Analyses(model);
    new Tables(model, store, analyses);
    setUpPrint(store, viewer, profiles, histogram);
    const worst = analyses.of(0)?.clusters[0];
    store.update({
        cross: worst?.peak ?? hottestVoxel(model),
        doseWindow: { low: 0, high: maximum },
    });
    store.announce('criterion', 'appearance');
    document.documentElement.dataset.state = 'ready';

    for (let i = 1; i < report.criteria.length; ++i) {
        await model.loadGamma(i);
        store.announce(store.state.criterion === i ? 'criterion' : 'pointer');
    }
    document.documentElement.dataset.state = 'complete';
}

start().catch((error: unknown) => {
    const reason = error instanceof Error ? error.message : String(error);
    document.body.prepend(el('p', { class: 'failure', role: 'alert' }, reason));
    document.documentElement.dataset.state = 'failed';
});
