import uPlot from 'uplot';
import { axis, Chart, scaled } from './chart';
import { byId, el } from './dom';
import { fixed, none, signed } from './format';
import type { Model } from './model';
import type { StructureDoses, StructureRecord } from './record';
import type { Changes, State, Store } from './store';

const height = 320;
const decimals = 2;

/** Dose-volume histograms of structures. */
export class DoseCurves {
    private readonly chart: Chart;
    private shown: StructureRecord[] = [];

    /** @param isPair whether there are two doses */
    constructor(
        private readonly doseUnit: string,
        private readonly binWidth: number,
        private readonly isPair: boolean,
        ended?: AbortSignal,
    ) {
        this.chart = new Chart(byId('dvh'), () => this.options(), height, ended);
    }

    show(structures: StructureRecord[]): void {
        this.shown = structures.filter((s) => s?.dvh);
        this.chart.create(this.data());
        const names = this.shown.map((s) => s.name).join(', ') || 'no structure';
        byId('dvh').setAttribute('aria-label', `Dose-volume histograms of ${names}`);
    }

    drawForPrint(width: number, tall: number): void {
        this.chart.create(this.data(), width, tall);
    }

    /** The curves over one axis of doses, in % of the volume. */
    private data(): uPlot.AlignedData {
        const curves = this.shown.flatMap(({ dvh }) => {
            const evaluation = this.isPair ? [dvh?.evaluation?.curve ?? null] : [];
            return dvh ? [dvh.reference.curve, ...evaluation] : [];
        });
        const bins = Math.max(2, ...curves.map((curve) => curve?.length ?? 0));
        const doses = Array.from({ length: bins }, (_, i) => i * this.binWidth);
        const filled = curves.map((curve) => doses.map((_, i) => curve && 100 * (curve[i] ?? 0)));
        return [doses, ...filled];
    }

    private series(structure: StructureRecord): uPlot.Series[] {
        const curve = (label: string, isReference: boolean): uPlot.Series => ({
            label,
            scale: 'percent',
            stroke: structure.colour,
            width: scaled(isReference ? 1.6 : 1.3),
            dash: isReference ? [] : [5, 4].map(scaled),
            points: { show: false },
            value: (_, value) => (value === null ? none : `${fixed(value, 1)} %`),
        });
        const { name } = structure;
        return this.isPair
            ? [curve(`${name}, reference`, true), curve(`${name}, evaluation`, false)]
            : [curve(name, true)];
    }

    private options(): Omit<uPlot.Options, 'width' | 'height'> {
        const unit = this.doseUnit;
        return {
            cursor: { drag: { setScale: false }, points: { size: 5 } },
            legend: { markers: { width: 2 } },
            scales: {
                x: { time: false, range: (_, low, high) => [low ?? 0, high ?? 1] },
                percent: { range: () => [0, 103] },
            },
            axes: [
                axis(`Dose / ${unit}`, 34),
                axis('Volume / %', 44, { scale: 'percent' }),
            ],
            series: [
                { label: 'Dose', value: (_, value) => (value === null ? none : `${fixed(value, decimals)} ${unit}`) },
                ...this.shown.flatMap((structure) => this.series(structure)),
            ],
        };
    }
}

/** Dose-volume histograms of the outlined structures, and the figures of the chosen one. */
export class DoseVolume {
    private readonly curves: DoseCurves;
    private readonly list: StructureRecord[];

    constructor(model: Model, store: Store) {
        const { structures, doseUnit } = model.record;
        this.list = structures?.list ?? [];
        byId('dose-volume').hidden = false;
        this.curves = new DoseCurves(doseUnit, structures?.dvhBinWidth ?? 1, true, store.ended);
        store.subscribe((state, changes) => this.update(state, changes));
    }

    drawForPrint(width: number, tall: number): void {
        this.curves.drawForPrint(width, tall);
    }

    private update(state: State, changes: Changes): void {
        if (changes.has('structures') || changes.has('appearance')) {
            this.curves.show(state.structures.map((i) => this.list[i]));
        }
        if (changes.has('part') || changes.has('criterion')) {
            this.tellFigures(state.part === null ? null : (this.list[state.part] ?? null));
        }
    }

    private tellFigures(structure: StructureRecord | null): void {
        byId('dose-figures-hint').hidden = structure !== null;
        byId('dose-figures').hidden = !structure?.dvh;
        byId('dose-figures-none').hidden = structure === null || structure.dvh !== null;
        byId('dose-figures-name').textContent = structure?.name ?? '';
        const dvh = structure?.dvh;
        byId('dose-figure-rows').replaceChildren(
            ...(dvh ? figuresOf(dvh).map((figure) => figureRow(figure)) : []),
        );
    }
}

interface Figure {
    name: string;
    reference: number | null;
    evaluation: number | null;
    difference: number | null;
}

function figuresOf(dvh: NonNullable<StructureRecord['dvh']>): Figure[] {
    const basic = (['min', 'mean', 'max'] as const).map((name) => ({
        name: { min: 'Minimum', mean: 'Mean', max: 'Maximum' }[name],
        reference: dvh.reference[name],
        evaluation: dvh.evaluation?.[name] ?? null,
        difference: dvh.difference?.[name] ?? null,
    }));
    const metric = (doses: { metrics: StructureDoses['metrics'] } | null, name: string) =>
        doses?.metrics[name] ?? null;
    const asked = Object.keys(dvh.reference.metrics).map((name) => ({
        name,
        reference: metric(dvh.reference, name),
        evaluation: metric(dvh.evaluation, name),
        difference: metric(dvh.difference, name),
    }));
    return [...basic, ...asked];
}

function figureRow({ name, reference, evaluation, difference }: Figure): HTMLElement {
    return el(
        'tr',
        { 'data-figure': name },
        el('th', { scope: 'row' }, name),
        el('td', {}, fixed(reference, decimals)),
        el('td', {}, fixed(evaluation, decimals)),
        el('td', {}, difference === null ? none : signed(difference, decimals)),
    );
}
