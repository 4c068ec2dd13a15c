import { axisEnds, axisNames } from './axes';
import { gammaOverflow, notTested } from './comparison';
import { byId, el } from './dom';
import { fixed, none, signed } from './format';
import { gammaText, nameOfCriterion } from './judged';
import type { Model } from './model';
import type { Triple } from './record';
import type { State, Store } from './store';

interface Row {
    id: string;
    label: string;
    unit: string;
    text(voxel: Triple, index: number): string;
    /** Class of the value: how it was judged. */
    judgement?(index: number): string;
}

/** The table of values under the pointer and at the crosshair. */
export class Readout {
    private readonly rows: Row[];
    private readonly cells = new Map<string, HTMLElement>();

    constructor(
        private readonly model: Model,
        private readonly store: Store,
    ) {
        this.rows = [...this.placeRows(), ...this.doseRows(), ...this.gammaRows()];
        byId('readout-rows').replaceChildren(...this.rows.map((row) => this.build(row)));
        byId('interpolation-note').hidden = model.sameGrid;
        store.subscribe((state) => this.update(state));
    }

    update(state: State): void {
        this.fill('pointer', state.pointer);
        this.fill('cross', state.cross);
        this.rows.forEach((row) => {
            const isShown = row.id === `gamma-${state.criterion}`;
            this.cells.get(`row-${row.id}`)?.classList.toggle('selected', isShown);
        });
    }

    private fill(column: string, voxel: Triple | null): void {
        const index = voxel ? this.model.grid.index(voxel) : -1;
        for (const row of this.rows) {
            const cell = this.cells.get(`${column}-${row.id}`);
            if (cell) {
                cell.textContent = voxel ? row.text(voxel, index) : none;
                cell.className = (voxel && row.judgement?.(index)) || '';
            }
        }
    }

    private build(row: Row): HTMLElement {
        const cell = (column: string): HTMLElement => {
            const element = el('td', { id: `${column}-${row.id}` });
            this.cells.set(element.id, element);
            return element;
        };
        const line = el(
            'tr',
            {},
            el('th', { scope: 'row' }, row.label),
            cell('cross'),
            cell('pointer'),
            el('td', { class: 'unit' }, row.unit),
        );
        this.cells.set(`row-${row.id}`, line);
        return line;
    }

    private placeRows(): Row[] {
        const { grid, record } = this.model;
        return [0, 1, 2].map((axis) => {
            const ends = axisEnds(record, axis);
            const letters = /^[A-Z]$/.test(ends.high) ? ` (${ends.low}–${ends.high})` : '';
            return {
                id: axisNames[axis],
                label: axisNames[axis] + letters,
                unit: 'mm',
                text: (voxel) => fixed(grid.coordinate(axis, voxel[axis]), 1),
            };
        });
    }

    private doseRows(): Row[] {
        const { model } = this;
        const { decimals } = model.reference;
        const unit = model.record.doseUnit;
        const normalisation = () =>
            model.record.criteria[this.store.state.criterion].normalisationDose;
        return [
            {
                id: 'voxel',
                label: 'Voxel',
                unit: '',
                text: (voxel) => voxel.join(' '),
            },
            {
                id: 'reference',
                label: 'Reference',
                unit,
                text: (_, index) => fixed(model.reference.value(index), decimals),
            },
            {
                id: 'evaluation',
                label: 'Evaluation',
                unit,
                text: (_, index) => fixed(model.evaluation.value(index), decimals),
            },
            {
                id: 'difference',
                label: 'Difference',
                unit,
                text: (_, index) => signed(model.difference(index), decimals),
            },
            {
                id: 'percent',
                label: '',
                unit: '% of norm.',
                text: (_, index) => signed((100 * model.difference(index)) / normalisation(), 2),
            },
            ...this.uncertaintyRows(),
        ];
    }

    private uncertaintyRows(): Row[] {
        const { inUncertainties } = this.model;
        if (!inUncertainties) {
            return [];
        }
        // The largest and the smallest number stand for all beyond them, too.
        const isBeyond = (index: number): boolean => Math.abs(inUncertainties.data[index]) === 32767;
        const text = (index: number): string => {
            const value = inUncertainties.value(index);
            return Number.isNaN(value) ? none : (isBeyond(index) ? 'beyond ' : '') + signed(value, 2);
        };
        return [
            {
                id: 'uncertainties',
                label: '',
                unit: 'u',
                text: (_, index) => text(index),
            },
        ];
    }

    private gammaRows(): Row[] {
        return this.model.record.criteria.map((criterion, i) => ({
            id: `gamma-${i}`,
            label: `γ ${nameOfCriterion(criterion)}`,
            unit: '',
            text: (_, index) => this.gammaText(i, index),
            judgement: (index) => this.judge(i, index),
        }));
    }

    private gammaText(criterion: number, index: number): string {
        const gamma = this.model.gamma(criterion);
        if (!gamma) {
            return '…';
        }
        const stored = gamma.stored(index);
        if (stored === notTested) {
            return 'not tested';
        }
        const text = gammaText(gamma.value(index), this.model.record.criteria[criterion], gamma.decimals);
        return stored === gammaOverflow ? `≥ ${text}` : text;
    }

    private judge(criterion: number, index: number): string {
        const gamma = this.model.gamma(criterion);
        if (!gamma?.isTested(index)) {
            return 'untested';
        }
        return gamma.hasFailed(index) ? 'failed' : 'passed';
    }
}
