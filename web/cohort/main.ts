import 'uplot/dist/uPlot.min.css';
import '../views/style.css';
import './style.css';
import { withChartSize } from '../views/chart';
import { byId, el } from '../views/dom';
import { counted } from '../views/format';
import { setUpScrolling } from '../views/scrolling';
import { applyTheme, setUpTheme } from '../views/theme';
import { Control } from './control';
import { readCohort, type CohortRecord } from './data';
import { Distribution } from './distribution';
import { Filters } from './filters';
import { Groups } from './groups';
import { Overview } from './overview';
import { PairsTable } from './pairsTable';
import { Selection } from './selection';

/** Width of A4 between margins of 10 mm, in CSS pixels. */
const paper = 718;

function selectionOf(record: CohortRecord): Selection {
    const groups = [...new Set(record.pairs.group)].sort();
    return new Selection(record, {
        criterion: record.series[0]?.criterion ?? '',
        structure: record.series.some((s) => s.structure === '') ? '' : (record.series[0]?.structure ?? ''),
        group: null,
        verdict: null,
        find: '',
        sortBy: 'pass_rate',
        descending: false,
        marked: null,
        chartGroup: groups[0] ?? '',
    });
}

function showHead(record: CohortRecord): void {
    const title = record.title || 'Cohort';
    document.title = title;
    byId('title').textContent = title;
    const { length } = record.pairs.id;
    const failed = record.pairs.error.filter((error) => error !== null).length;
    const dates = record.pairs.date.filter((date) => date !== '').sort();
    const when = dates.length ? `, ${dates[0].slice(0, 10)} to ${dates[dates.length - 1].slice(0, 10)}` : '';
    byId('subtitle').textContent = `${counted(length, 'pair')}, ${failed} of them not computed${when}`;
    const { tolerance, action } = record.thresholds;
    byId('footer').textContent =
        `${record.program.name} ${record.program.version}. Tolerance limit ${tolerance} %, action limit ${action} %; ` +
        'control charts and action limits of a group by AAPM TG-218: centre ± 2.660 · mean moving range, ' +
        '100 − 3 · √(σ² + (centre − 100)²).';
}

function setUpPrint(selection: Selection, charts: { distribution: Distribution; control: Control; table: PairsTable }): void {
    const root = document.documentElement;
    window.addEventListener('beforeprint', () => {
        root.classList.add('printing');
        applyTheme('light');
        withChartSize({ text: 8, zoom: 3 }, () => {
            charts.distribution.draw(paper - 375, 150);
            charts.control.draw(paper - 24, [150, 90]);
        });
        charts.table.print(true);
    });
    window.addEventListener('afterprint', () => {
        root.classList.remove('printing');
        applyTheme();
        charts.table.print(false);
        selection.redraw();
    });
    byId('print').addEventListener('click', () => window.print());
}

function redrawOnResize(selection: Selection): void {
    let frame = 0;
    let width = window.innerWidth;
    window.addEventListener('resize', () => {
        cancelAnimationFrame(frame);
        frame = requestAnimationFrame(() => {
            if (window.innerWidth !== width) {
                width = window.innerWidth;
                selection.redraw();
            }
        });
    });
}

function start(): void {
    const record = readCohort();
    const selection = selectionOf(record);
    showHead(record);
    byId('page').hidden = false;
    new Filters(selection);
    new Overview(selection);
    new Groups(selection);
    const distribution = new Distribution(selection);
    const control = new Control(selection);
    const table = new PairsTable(selection);
    setUpPrint(selection, { distribution, control, table });
    redrawOnResize(selection);
    setUpTheme(selection);
    setUpScrolling();
    document.documentElement.dataset.state = 'complete';
}

try {
    start();
} catch (error) {
    const reason = error instanceof Error ? error.message : String(error);
    document.body.prepend(el('p', { class: 'failure', role: 'alert' }, reason));
    document.documentElement.dataset.state = 'failed';
}
