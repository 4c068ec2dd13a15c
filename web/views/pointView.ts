import { css, layerScale } from './colour';
import { byId, el, token } from './dom';
import { fixed, none, signed, whole } from './format';
import { pointsOf, projections, type MeasuredPoint, type Projection } from './pointList';
import { gammaText } from './judged';
import type { ComparisonRecord, Criterion } from './record';
import type { State, Store } from './store';

const tallest = 560;
const margin = 26;
const radius = { passed: 5, failed: 7, untested: 3 };
const longestTable = 500;

/** One picture of the points. */
class PointPicture {
    readonly element: HTMLElement;
    private readonly canvas = el('canvas', { tabindex: 0, role: 'img' });
    private places: [number, number][] = [];

    constructor(
        private readonly projection: Projection,
        choose: (index: number) => void,
    ) {
        const { name, horizontal, vertical } = projection;
        this.canvas.setAttribute('aria-label', `Measured points, ${name}`);
        this.element = el(
            'figure',
            { class: 'slice' },
            el(
                'figcaption',
                {},
                el('span', { class: 'slice-name' }, name),
                el('span', {}, `→ ${horizontal}, ↑ ${vertical}`),
            ),
            this.canvas,
        );
        this.canvas.addEventListener('click', (event) => {
            const nearest = this.nearest(event.offsetX, event.offsetY);
            if (nearest >= 0) {
                choose(nearest);
            }
        });
    }

    draw(points: MeasuredPoint[], state: State, chosen: number, width: number): void {
        const { canvas } = this;
        const mm = points.map(({ position }) => this.projection.place(position));
        const range = (axis: number) => {
            const values = mm.map((place) => place[axis]);
            return [Math.min(...values), Math.max(...values)];
        };
        const [[left, right], [bottom, top]] = [range(0), range(1)];
        const perMm = Math.min(
            (width - 2 * margin) / Math.max(right - left, 1),
            (tallest - 2 * margin) / Math.max(top - bottom, 1),
        );
        const height = Math.round((top - bottom) * perMm + 2 * margin);
        canvas.style.width = `${width}px`;
        canvas.style.height = `${height}px`;
        canvas.width = Math.round(width * window.devicePixelRatio);
        canvas.height = Math.round(height * window.devicePixelRatio);
        const context = canvas.getContext('2d');
        if (!context) {
            return;
        }
        context.scale(window.devicePixelRatio, window.devicePixelRatio);
        const offset = (width - (right - left) * perMm) / 2;
        this.places = mm.map(([u, v]) => [offset + (u - left) * perMm, margin + (top - v) * perMm]);
        const scale = layerScale('gamma', state);
        points.forEach((point, i) => {
            const isTested = point.gamma >= 0;
            const size = !isTested ? radius.untested : point.passed ? radius.passed : radius.failed;
            const shown = point.passed ? Math.min(point.gamma, 1) : Math.max(point.gamma, 1.001);
            this.dot(context, i, size, isTested ? css(scale.colour(shown)) : '#6b727a');
        });
        if (chosen >= 0) {
            this.ring(context, chosen);
        }
    }

    private dot(context: CanvasRenderingContext2D, i: number, size: number, colour: string): void {
        const [x, y] = this.places[i];
        context.beginPath();
        context.arc(x, y, size, 0, 2 * Math.PI);
        context.fillStyle = colour;
        context.fill();
        context.strokeStyle = 'rgb(255 255 255 / 0.75)';
        context.stroke();
    }

    private ring(context: CanvasRenderingContext2D, i: number): void {
        const [x, y] = this.places[i];
        context.beginPath();
        context.arc(x, y, radius.failed + 5, 0, 2 * Math.PI);
        context.lineWidth = 2;
        context.strokeStyle = token('--investigate');
        context.stroke();
    }

    private nearest(x: number, y: number): number {
        const distances = this.places.map(([px, py]) => Math.hypot(px - x, py - y));
        const nearest = distances.indexOf(Math.min(...distances));
        return distances[nearest] < 20 ? nearest : -1;
    }
}

/** Of a point without a dose within reach the computation gives 1e10. */
function pointText(gamma: number, criterion: Criterion): string {
    const unreached = 1e9;
    return gamma < 0 ? none : gamma > unreached ? 'no dose within reach' : gammaText(gamma, criterion);
}

/** Points as points, with a table of them: the worst first. */
export class PointView {
    private readonly pictures: PointPicture[];
    private readonly host = byId('point-pictures');
    private points: MeasuredPoint[] = [];
    private chosen = -1;

    constructor(
        private readonly record: ComparisonRecord,
        private readonly store: Store,
    ) {
        this.pictures = projections(record).map((p) => new PointPicture(p, (i) => this.choose(i)));
        this.host.append(...this.pictures.map((picture) => picture.element));
        byId('points').hidden = false;
        store.subscribe((state, changes) => {
            if (changes.has('criterion') || changes.has('appearance')) {
                this.update(state);
            }
        });
        new ResizeObserver(() => store.redraw()).observe(this.host);
    }

    private update(state: State): void {
        this.points = pointsOf(this.record, state.criterion) ?? [];
        this.draw(state);
        this.fillTable();
    }

    private draw(state: State): void {
        const gap = 14;
        const count = this.pictures.length;
        const width = Math.floor((this.host.clientWidth - gap * (count - 1)) / count);
        this.pictures.forEach((picture) => picture.draw(this.points, state, this.chosen, width));
    }

    private choose(index: number): void {
        this.chosen = index;
        this.draw(this.store.state);
        document.querySelectorAll<HTMLElement>('#point-rows tr').forEach((row) => {
            const isChosen = row.dataset.point === String(index);
            row.classList.toggle('selected', isChosen);
            if (isChosen) {
                row.scrollIntoView({ block: 'nearest' });
            }
        });
    }

    private fillTable(): void {
        const order = this.points.map((_, i) => i);
        order.sort((a, b) => this.points[b].gamma - this.points[a].gamma || a - b);
        const shown = order.slice(0, longestTable);
        byId('point-rows').replaceChildren(...shown.map((i) => this.row(i)));
        byId('point-note').textContent =
            shown.length < order.length
                ? `The ${whole(shown.length)} points of the largest γ out of ${whole(order.length)}.`
                : 'Choosing a point marks it.';
    }

    private row(i: number): HTMLElement {
        const { position, reference, evaluation, gamma, passed } = this.points[i];
        const isTested = gamma >= 0;
        const criterion = this.record.criteria[this.store.state.criterion];
        const norm = criterion.normalisationDose;
        const difference = evaluation === null ? null : (100 * (evaluation - reference)) / norm;
        const verdict = !isTested ? 'not tested' : passed ? '✓ passed' : '✕ failed';
        const row = el(
            'tr',
            { 'data-point': i, class: i === this.chosen ? 'selected' : null },
            el('th', { scope: 'row' }, el('button', { type: 'button' }, String(i + 1))),
            ...position.map((p) => el('td', {}, fixed(p, 1))),
            el('td', {}, fixed(reference, 4)),
            el('td', {}, fixed(evaluation, 4)),
            el('td', {}, difference === null ? none : signed(difference, 2)),
            el('td', {}, pointText(gamma, criterion)),
            el('td', { class: 'word' }, verdict),
        );
        row.addEventListener('click', () => this.choose(i));
        return row;
    }
}
