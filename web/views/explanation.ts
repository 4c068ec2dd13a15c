import { axisEnds, axisNames, planes, shownPlanes, type Plane } from './axes';
import { layerScale } from './colour';
import { byId, el } from './dom';
import { fixed, rate, signed, unbroken, whole } from './format';
import { Frame } from './frame';
import type { GammaMap } from './gammaMap';
import { nameOfCriterion, placesName } from './judged';
import type { Model } from './model';
import type { ChangeRecord, ExplanationRecord } from './record';
import type { Changes, State, Store } from './store';

/** CSS pixels. */
const arrowSize = 150;
const tallestMap = 210;
/** What the maps depend on. */
const drawnFrom = ['cross', 'gammaWindow'] as const;

function svg(tag: string, attributes: Record<string, string | number>, text = ''): SVGElement {
    const element = document.createElementNS('http://www.w3.org/2000/svg', tag);
    for (const [name, value] of Object.entries(attributes)) {
        element.setAttribute(name, String(value));
    }
    element.textContent = text;
    return element;
}

/** The views in which a shift is seen: of doses in a plane that one, else three. */
function arrowPlanes({ record }: Model): Plane[] {
    return record.searchSpace === 'plane' ? shownPlanes(record) : planes(record);
}

/** The card that tells which shift and dose factor explain what fails. */
export class ExplanationCard {
    private readonly maps = byId('explanation-maps');
    private readonly button = byId<HTMLButtonElement>('explanation-show');
    private readonly record: ExplanationRecord;
    private readonly criterion: number;
    private after: GammaMap | null = null;
    private isDrawn = false;

    constructor(
        private readonly model: Model,
        private readonly store: Store,
        explanation: ExplanationRecord,
    ) {
        this.record = explanation;
        const { criteria } = model.record;
        const names = [criteria.map(nameOfCriterion), criteria.map(({ label }) => label)];
        this.criterion = names.map((all) => all.indexOf(explanation.criterion)).find((place) => place >= 0) ?? 0;
        const part = explanation.structure ? ` in ${explanation.structure}` : '';
        byId('explanation-criterion').textContent = `${explanation.criterion}${part}`;
        byId('explanation-sentence').textContent = unbroken(explanation.sentence);
        byId('explanation-rows').replaceChildren(...this.rows());
        byId('explanation-ranges').textContent = unbroken(this.ranges());
        this.showIsocentre();
        const notes = byId('explanation-notes');
        notes.replaceChildren(...explanation.notes.map((note) => el('li', {}, note)));
        notes.hidden = explanation.notes.length === 0;
        byId('explanation-arrows').replaceChildren(
            ...arrowPlanes(model).map((plane) => this.arrow(plane)),
        );
        byId('explanation').hidden = false;
        this.button.addEventListener('click', () => void this.toggle());
        this.button.hidden = !model.canShowAfter;
        store.subscribe((state, changes) => this.update(state, changes));
    }

    private rows(): HTMLElement[] {
        const { before, best, shiftAlone, factorAlone, tested } = this.record;
        const { tolerance, action } = this.model.record.criteria[this.criterion].limits;
        const row = (name: string, change: ChangeRecord | null, passRate: number, failed: number) =>
            el(
                'tr',
                {},
                el('th', { scope: 'row' }, name),
                el('td', { class: 'word' }, change ? change.direction || 'none' : ''),
                el('td', {}, change ? fixed(change.shiftLength, 1) : ''),
                el('td', {}, change ? signed((change.factor - 1) * 100, 2) : ''),
                el('td', {}, whole(failed)),
                el('td', {}, el('strong', {}, rate(passRate, [100, tolerance, action]))),
            );
        byId('explanation-tested').textContent = `${whole(tested)} tested ${placesName(this.model.record)}`;
        return [
            row('As it is', null, before.passRate, before.failed),
            row('Shift and factor', best, best.passRate, best.failed),
            row('Shift alone', shiftAlone, shiftAlone.passRate, shiftAlone.failed),
            row('Factor alone', factorAlone, factorAlone.passRate, factorAlone.failed),
        ];
    }

    private ranges(): string {
        const { shift, factor } = this.record.within;
        const along = shift.flatMap((range, axis) =>
            range ? [`${axisNames[axis]} ${fixed(range[0], 1)} to ${fixed(range[1], 1)} mm`] : [],
        );
        const factors = factor.map((f) => signed((f - 1) * 100, 1)).join(' to ');
        return (
            'The pass rate stays within 0.1 percentage points of the best for ' +
            `${[...along, `dose ${factors} %`].join(', ')}.`
        );
    }

    /** Where the evaluation has what is planned at the isocentre; of several there is no one place. */
    private showIsocentre(): void {
        const [place, ...others] = this.model.record.isocentres ?? [];
        const told = byId('explanation-isocentre');
        told.hidden = !place || others.length > 0;
        if (place) {
            const { shift } = this.record.best;
            const text = (at: number[]): string => at.map((mm) => fixed(mm, 1)).join(', ');
            const found = place.map((mm, axis) => mm - shift[axis]);
            told.textContent = unbroken(
                `Told from the isocentre: what the reference has at ${text(place)} mm, the evaluation has at ${text(found)} mm (x, y, z).`,
            );
        }
    }

    /** The shift as it is seen in a slice, with the distance to agreement as a circle. */
    private arrow(plane: Plane): HTMLElement {
        const { shift } = this.record.best;
        const { distance } = this.model.record.criteria[this.criterion];
        const reach = 1.35 * Math.max(distance, ...shift.map(Math.abs));
        const half = arrowSize / 2;
        const scale = (half - 14) / reach;
        const x = shift[plane.horizontal] * scale;
        const y = shift[plane.vertical] * scale * (plane.upwards ? -1 : 1);
        const told = [plane.horizontal, plane.vertical].map(
            (axis) => `${axisNames[axis]} ${signed(shift[axis], 1)}\u00a0mm`,
        );
        const name = `${plane.name}, shift of the evaluation: ${told.join(', ')}`;
        const picture = svg('svg', {
            viewBox: `${-half} ${-half} ${arrowSize} ${arrowSize}`,
            width: arrowSize,
            height: arrowSize,
            role: 'img',
            'aria-label': name,
        });
        const across = axisEnds(this.model.record, plane.horizontal);
        const along = axisEnds(this.model.record, plane.vertical);
        const [top, bottom] = plane.upwards ? [along.high, along.low] : [along.low, along.high];
        const end = half - 12;
        picture.append(
            svg('title', {}, name),
            svg('line', { class: 'axis', x1: -end, y1: 0, x2: end, y2: 0 }),
            svg('line', { class: 'axis', x1: 0, y1: -end, x2: 0, y2: end }),
            svg('circle', { class: 'dta', r: distance * scale }),
            svg('text', { x: -half + 5, y: 4, 'text-anchor': 'middle' }, across.low),
            svg('text', { x: half - 5, y: 4, 'text-anchor': 'middle' }, across.high),
            svg('text', { x: 0, y: -half + 9, 'text-anchor': 'middle' }, top),
            svg('text', { x: 0, y: half - 2, 'text-anchor': 'middle' }, bottom),
        );
        const length = Math.hypot(x, y);
        if (length > 2) {
            const [ux, uy] = [x / length, y / length];
            const head = Math.min(9, length);
            const back = (side: number) =>
                `${x - head * ux + side * 0.5 * head * uy},${y - head * uy - side * 0.5 * head * ux}`;
            picture.append(
                svg('line', { class: 'shift', x1: 0, y1: 0, x2: x - ux * head, y2: y - uy * head }),
                svg('polygon', { class: 'shift', points: `${x},${y} ${back(1)} ${back(-1)}` }),
            );
        } else {
            picture.append(svg('circle', { class: 'shift', r: 3 }));
        }
        return el('figure', {}, picture as unknown as HTMLElement, el('figcaption', {}, plane.name));
    }

    private async toggle(): Promise<void> {
        try {
            this.after ??= await this.model.loadAfter();
        } catch (error) {
            this.tellFailure(error);
            return;
        }
        this.maps.hidden = !this.maps.hidden;
        this.isDrawn = false;
        this.button.setAttribute('aria-expanded', String(!this.maps.hidden));
        this.button.textContent = this.maps.hidden ? 'Gamma map after the change' : 'Hide the maps';
        this.draw(this.store.state);
    }

    /** Of an engine that was stopped, say; what is shown stays. */
    private tellFailure(error: unknown): void {
        if (!this.store.ended.aborted) {
            const reason = error instanceof Error ? error.message : String(error);
            this.maps.replaceChildren(el('p', { role: 'alert' }, reason));
            this.maps.hidden = false;
        }
    }

    private update(state: State, changes: Changes): void {
        if (!this.isDrawn || drawnFrom.some((key) => changes.has(key))) {
            this.draw(state);
        }
    }

    /** Both maps in the slices of the crosshair. */
    private draw(state: State): void {
        const before = this.model.gamma(this.criterion);
        if (this.maps.hidden || !this.after || !before) {
            return;
        }
        const after = this.after;
        this.isDrawn = true;
        this.maps.replaceChildren(
            ...shownPlanes(this.model.record).map((plane) =>
                el(
                    'div',
                    { class: 'map-pair' },
                    this.map(plane, before, state, `${plane.name}, as it is`),
                    this.map(plane, after, state, `${plane.name}, after the change`),
                ),
            ),
        );
    }

    private map(plane: Plane, gamma: GammaMap, state: State, name: string): HTMLElement {
        const frame = new Frame(this.model.grid, plane, this.model.focus);
        const canvas = el('canvas', { role: 'img', 'aria-label': name });
        canvas.width = frame.columns;
        canvas.height = frame.rows;
        const { width, height } = frame.extent;
        const scale = Math.min(tallestMap / height, tallestMap / width);
        canvas.style.width = `${Math.round(width * scale)}px`;
        canvas.style.height = `${Math.round(height * scale)}px`;
        const context = canvas.getContext('2d');
        if (context) {
            const picture = context.createImageData(canvas.width, canvas.height);
            const pixels = new Uint32Array(picture.data.buffer);
            const colours = layerScale('gamma', state);
            let pixel = 0;
            frame.visit(state.cross[plane.normal], (index) => {
                pixels[pixel++] = gamma.isTested(index) ? colours.colour(gamma.value(index)) : 0;
            });
            context.putImageData(picture, 0, 0);
        }
        return el('figure', {}, canvas, el('figcaption', {}, name));
    }
}
