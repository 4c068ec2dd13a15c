/** The page of one dose in structures. */

import { withChartSize } from '../views/chart';
import { byId, el, swatch } from '../views/dom';
import { DoseCurves } from '../views/doseVolume';
import { showFigures } from '../views/figureTable';
import { showGoals } from '../views/goals';
import { showHeader } from '../views/headerCard';
import type { EvaluationRecord } from '../views/record';
import { setUpScrolling } from '../views/scrolling';
import { showStructureNotes } from '../views/structureNotes';
import { fileDetails, gridRow, made, showGate, showProtocol, showWarnings } from '../views/summary';
import { drawnAtFirst } from '../views/targets';
import { applyTheme, setUpTheme } from '../views/theme';

/** CSS pixels: of a sheet between its margins. */
const paper = { width: 718, tall: 300 };

/** Which structures have their curves drawn: boxes in the table of figures. */
class Curves {
    private readonly places: Set<number>;
    private readonly curves: DoseCurves;

    constructor(private readonly record: EvaluationRecord) {
        this.places = new Set(drawnAtFirst(record.structures.list));
        this.curves = new DoseCurves(record.doseUnit, record.structures.dvhBinWidth, false);
    }

    box(place: number): HTMLElement {
        const { name, colour } = this.record.structures.list[place];
        const box = el('input', { type: 'checkbox', checked: this.places.has(place), 'aria-label': `Curve of ${name}` });
        box.addEventListener('change', () => {
            this.places[box.checked ? 'add' : 'delete'](place);
            this.draw();
        });
        return el('span', { class: 'curve-choice' }, box, swatch(colour));
    }

    draw(): void {
        this.curves.show([...this.places].map((place) => this.record.structures.list[place]));
    }

    drawForPrint(): void {
        withChartSize({ text: 8, zoom: 3 }, () => this.curves.drawForPrint(paper.width - 24, paper.tall));
    }
}

function showHead(record: EvaluationRecord): void {
    const { file, grid, doseUnit, command } = record;
    document.title = record.title || `Doses: ${file.name}`;
    byId('title').textContent = record.title || 'Dose in structures';
    byId('files').replaceChildren(el('dt', {}, 'Dose'), el('dd', {}, file.name, fileDetails(file)));
    byId('provenance').replaceChildren(gridRow('Dose', { file, grid, doseUnit }));
    byId('made-by').textContent = made(record);
    byId('command').textContent = command ?? '';
    showHeader(record.header);
    showWarnings(record.warnings ?? []);
    showProtocol(record.protocol ?? null);
    showGate(record.gate ?? []);
    const { goals } = record;
    byId('verdict').hidden = goals.length === 0 && !record.protocol && !record.gate?.length;
    if (goals.length > 0) {
        byId('verdict').classList.add(goals.every(({ verdict }) => verdict === 'pass') ? 'pass' : 'fail');
    }
}

function setUpPrint(curves: Curves): void {
    const root = document.documentElement;
    window.addEventListener('beforeprint', () => {
        root.classList.add('printing');
        applyTheme('light');
        curves.drawForPrint();
    });
    window.addEventListener('afterprint', () => {
        root.classList.remove('printing');
        applyTheme();
        curves.draw();
    });
    byId('print').addEventListener('click', () => window.print());
}

export function showEvaluation(record: EvaluationRecord): void {
    byId('page').replaceWith(byId<HTMLTemplateElement>('evaluation-markup').content);
    const curves = new Curves(record);
    showHead(record);
    showGoals(record.goals, false);
    showFigures(record.structures, record.doseUnit, false, (place) => curves.box(place));
    showStructureNotes(record.structures);
    byId('page').hidden = false;
    setUpScrolling();
    setUpTheme({ redraw: () => curves.draw() });
    window.addEventListener('resize', () => curves.draw());
    setUpPrint(curves);
    document.documentElement.dataset.state = 'complete';
}
