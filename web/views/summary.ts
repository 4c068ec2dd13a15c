import { longAxes } from './axes';
import { byId, el } from './dom';
import { showHeader } from './headerCard';
import { bytes, fixed, none, plain, rate, unbroken, whole } from './format';
import { gammaText, judgedBy, meanText, nameOfCriterion, placesName, sidesText, type Judged } from './judged';
import type {
    ComparisonRecord, Criterion, FileRecord, GridRecord, NamedText, ProtocolRecord, Role, Verdict,
} from './record';
import type { State, Store } from './store';

interface VerdictText {
    mark: string;
    short: string;
    long(limits: Judged['limits']): string;
}

/** Words and marks, so that no verdict rests on its colour. */
const verdicts: Record<Verdict, VerdictText> = {
    pass: {
        mark: '✓',
        short: 'Pass',
        long: (c) => `At or above the tolerance limit of ${plain(c.tolerance)} %`,
    },
    investigate: {
        mark: '!',
        short: 'Investigate',
        long: (c) =>
            `Between the action limit of ${plain(c.action)} % and the tolerance limit of ` +
            `${plain(c.tolerance)} %`,
    },
    fail: {
        mark: '✕',
        short: 'Fail',
        long: (c) => `Below the action limit of ${plain(c.action)} %`,
    },
    none: {
        mark: none,
        short: 'No result',
        long: () => 'No voxel lies above the dose cut-off',
    },
};

export function passRate({ figures, limits }: Judged): string {
    return rate(figures.passRate, [100, limits.tolerance, limits.action]);
}

export function verdictWord(verdict: Verdict): string {
    return verdicts[verdict].short;
}

export function chip(verdict: Verdict): HTMLElement {
    const { mark, short } = verdicts[verdict];
    return el(
        'span',
        { class: `chip ${verdict}` },
        el('span', { class: 'mark', 'aria-hidden': 'true' }, mark),
        short,
    );
}

/** The verdict, the table of criteria and where the numbers come from. */
export class Summary {
    constructor(
        private readonly record: ComparisonRecord,
        private readonly store: Store,
    ) {
        document.title = record.title || `Gamma: ${record.files.evaluation.name}`;
        byId('title').textContent = record.title || 'Gamma comparison';
        byId('files').replaceChildren(...fileLines(record));
        byId('criteria-rows').replaceChildren(...record.criteria.map((c, i) => this.row(c, i)));
        byId('provenance').replaceChildren(...provenance(record));
        showProtocol(record.protocol ?? null);
        showConditions(record.conditions ?? []);
        showGate(record.gate ?? []);
        showHeader(record.header);
        showWarnings(record.warnings ?? []);
        store.subscribe((state) => this.update(state));
        this.update(store.state);
    }

    private update(state: State): void {
        const criterion = this.record.criteria[state.criterion];
        const judged = judgedBy(criterion, this.record);
        const { figures, limits, structure } = judged;
        const verdict = byId('verdict');
        verdict.className = `verdict ${criterion.verdict}`;
        byId('verdict-chip').replaceChildren(chip(criterion.verdict));
        byId('verdict-criterion').textContent = describe(criterion);
        byId('verdict-rate').textContent = passRate(judged);
        byId('verdict-noise').textContent = criterion.withoutNoise?.sentence ?? '';
        byId('verdict-noise').hidden = !criterion.withoutNoise;
        byId('verdict-counts').textContent =
            `${structure === null ? '' : `${structure}: `}${whole(figures.passed)} of ` +
            `${whole(figures.tested)} tested ${placesName(this.record)} passed, ` +
            `${whole(figures.failed)} failed${sidesText(figures)}`;
        byId('verdict-text').textContent = unbroken(verdicts[criterion.verdict].long(limits));
        byId('verdict-gauge').replaceChildren(...gauge(judged));
        document.querySelectorAll('.criterion-label').forEach((e) => {
            e.textContent = nameOfCriterion(criterion);
        });
        byId<HTMLInputElement>(`criterion-${state.criterion}`).checked = true;
        document.querySelectorAll<HTMLElement>('#criteria-rows tr').forEach((line, i) => {
            line.classList.toggle('selected', i === state.criterion);
        });
    }

    private row(criterion: Criterion, i: number): HTMLElement {
        const input = el('input', {
            type: 'radio',
            name: 'criterion',
            id: `criterion-${i}`,
            'aria-label': `Show ${nameOfCriterion(criterion)}`,
        });
        const choose = (): void => this.store.update({ criterion: i });
        input.addEventListener('change', choose);
        const judged = judgedBy(criterion, this.record);
        const { figures, structure } = judged;
        const of = structure === null ? null : el('span', { class: 'muted' }, ` in ${structure}`);
        const number = (value: string, name: string) => el('td', { 'data-value': name }, value);
        const row = el(
            'tr',
            { 'data-criterion': i },
            el('th', { scope: 'row' }, el('label', {}, input, ` ${nameOfCriterion(criterion)}`, of)),
            el('td', { class: 'word' }, criterion.local ? 'local' : 'global'),
            number(whole(figures.tested), 'tested'),
            number(whole(figures.failed), 'failed'),
            el(
                'td',
                { class: 'rate', 'data-value': 'passRate' },
                el('strong', {}, passRate(judged)),
            ),
            number(meanText(figures), 'mean'),
            number(gammaText(figures.p95, criterion), 'p95'),
            number(gammaText(figures.p99, criterion), 'p99'),
            number(gammaText(figures.max, criterion), 'max'),
            number(fixed(criterion.seconds, 2), 'seconds'),
            el('td', { class: 'word', 'data-value': 'verdict' }, chip(criterion.verdict)),
        );
        row.addEventListener('click', choose);
        return row;
    }
}

function describe(c: Criterion): string {
    const kind = c.local ? 'local' : 'global';
    const patterns = c.for?.length ? `${c.for.join(', ')}: ` : '';
    return patterns + unbroken(`${plain(c.doseDifference)} % ${kind} / ${plain(c.distance)} mm`);
}

/** A bar from 80 % (or lower, where the rate is) to 100 % with both limits. */
function gauge({ figures, limits }: Judged): HTMLElement[] {
    const { tolerance, action } = limits;
    const passRate = figures.passRate ?? 0;
    const lowest = Math.min(80, 2 * action - 100, passRate - 5);
    const low = Math.max(0, Math.floor(lowest / 10) * 10);
    const place = (value: number): string => `${(100 * (value - low)) / (100 - low)}%`;
    const fill = el('div', { class: 'gauge-fill' });
    fill.style.width = place(passRate);
    const marks = Object.entries({ action, tolerance }).map(([name, limit]) => {
        const mark = el('div', { class: `gauge-mark ${name}` }, el('span', {}, plain(limit)));
        mark.style.left = place(limit);
        return mark;
    });
    return [
        el('div', { class: 'gauge-track' }, fill, ...marks),
        el('span', { class: 'gauge-end' }, plain(low)),
        el('span', { class: 'gauge-end high' }, '100 %'),
    ];
}

function fileLines(record: ComparisonRecord): HTMLElement[] {
    return (['reference', 'evaluation'] as Role[]).flatMap((role) => {
        const file = record.files[role];
        return [
            el('dt', { class: role }, role === 'reference' ? 'Reference' : 'Evaluation'),
            el('dd', {}, file.name, fileDetails(file)),
        ];
    });
}

/** What stands behind the name of a file; null: nothing. */
export function fileDetails({ format, description }: FileRecord): HTMLElement | null {
    const details = [format, description].filter(Boolean).join(', ');
    return details ? el('span', { class: 'muted' }, ` ${details}`) : null;
}

interface Placed {
    file: FileRecord;
    grid: GridRecord;
    doseUnit: string;
    /** Along which there are several places; absent: all. */
    axes?: number[];
    /** How many; absent: it is a grid. */
    points?: number;
}

/** A dose in the table at the foot: its file, where it lies, its maximum. */
export function gridRow(name: string, { file, grid, doseUnit, axes = [0, 1, 2], points }: Placed): HTMLElement {
    const { maximum } = grid;
    const isGrid = points === undefined;
    return el(
        'tr',
        {},
        el('th', { scope: 'row' }, name),
        el('td', { class: 'path' }, file.path ?? file.name),
        el('td', {}, points === undefined ? axes.map((a) => grid.size[a]).join(' × ') : whole(points)),
        el('td', {}, isGrid ? axes.flatMap((a) => grid.spacing[a] ?? []).map(plain).join(' × ') : none),
        el('td', {}, isGrid ? grid.origin.map((o) => fixed(o, 2)).join(', ') : none),
        el('td', {}, maximum ? `${plain(maximum.dose)} ${doseUnit}` : none),
        el('td', {}, file.bytes ? bytes(file.bytes) : none),
        el('td', { class: 'digest', title: file.sha256 ?? '' }, file.sha256?.slice(0, 16) ?? none),
    );
}

/** By which program, and when. */
export function made({ program, created }: Pick<ComparisonRecord, 'program' | 'created'>): string {
    return `${program.name} ${program.version}, ${when(created)}.`;
}

function provenance(record: ComparisonRecord): HTMLElement[] {
    const unit = record.doseUnit;
    const criterion = record.criteria[0];
    const rows = (['reference', 'evaluation'] as Role[]).map((role) =>
        gridRow(role === 'reference' ? 'Reference' : 'Evaluation', {
            file: record.files[role],
            grid: record.grids[role],
            doseUnit: unit,
            axes: longAxes(record, role),
            points: record.measurements?.[role]?.points?.length,
        }),
    );
    const settings = [
        `Normalisation ${plain(criterion.normalisationDose)} ${unit}`,
        `cut-off ${plain(criterion.cutoffPercent)} % (${plain(criterion.cutoffDose)} ${unit})`,
        criterion.stepSize ? `search step ${plain(criterion.stepSize)} mm` : null,
        criterion.gammaSearchMax ? `gamma searched up to ${plain(criterion.gammaSearchMax)}` : null,
        criterion.interpolation === false ? 'doses not interpolated' : 'doses interpolated',
    ].filter(Boolean);
    byId('settings').textContent = unbroken(`${settings.join(', ')} (${nameOfCriterion(criterion)}).`);
    byId('made-by').textContent = `${made(record)} Limits after AAPM TG-218.`;
    byId('command').textContent = record.command ?? '';
    return rows;
}

export function showProtocol(protocol: ProtocolRecord | null): void {
    const line = byId('protocol');
    line.hidden = protocol === null;
    if (protocol) {
        const { name, version, title, sha256, changed } = protocol;
        const words = [name, version && ` ${version}`, title && `, ${title}`].filter(Boolean).join('');
        line.title = `SHA-256 ${sha256}`;
        line.replaceChildren(el('strong', {}, 'Protocol: '), words, changed ? el('strong', {}, ', changed') : '');
    }
}

/** In the verdict, so that no rate is read without them. */
function showConditions(conditions: NamedText[]): void {
    const line = byId('conditions');
    line.hidden = conditions.length === 0;
    line.replaceChildren(el('strong', {}, 'Not as usual: '), conditions.map((c) => c.text).join('; '));
}

export function showGate(warnings: NamedText[]): void {
    const list = byId('gate');
    list.hidden = warnings.length === 0;
    list.replaceChildren(...warnings.map(({ name, text }) => el('li', { 'data-name': name }, text)));
}

function when(created: string): string {
    const date = new Date(created);
    return Number.isNaN(date.getTime())
        ? created
        : `${date.toISOString().slice(0, 16).replace('T', ' ')} UTC`;
}

export function showWarnings(warnings: string[]): void {
    const host = byId('warnings');
    host.append(...warnings.map((warning) => el('p', {}, warning)));
    host.hidden = host.childElementCount === 0;
}
