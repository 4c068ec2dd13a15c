import { axisEnds, axisNames, moved, type AxisEnds, type Plane } from './axes';
import { greyScale, layerScale } from './colour';
import { el } from './dom';
import { fixed } from './format';
import { isolines, type Line, type Plane as PlaneValues } from './isodose';
import type { Model } from './model';
import type { Triple } from './report';
import type { State, Store } from './store';
import { notTested, type Field } from './volume';

/** Isodose levels, % of the normalisation dose. */
export const isodoseLevels = [20, 50, 80, 95];

const crosshairGap = 7;
const minimumLabelLength = 40;

/** A slice through the doses or the gamma map, with crosshair, slider and keys. */
export class SliceView {
    readonly element: HTMLElement;
    private readonly canvas: HTMLCanvasElement;
    private readonly slider: HTMLInputElement;
    private readonly caption: HTMLElement;
    private readonly image = document.createElement('canvas');
    private readonly ends: { horizontal: AxisEnds; vertical: AxisEnds };
    private readonly columns: number;
    private readonly rows: number;
    private width = 0;
    private height = 0;
    private wheel = 0;

    constructor(
        readonly plane: Plane,
        private readonly model: Model,
        private readonly store: Store,
    ) {
        const { grid, report } = model;
        this.columns = grid.size[plane.horizontal];
        this.rows = grid.size[plane.vertical];
        this.image.width = this.columns;
        this.image.height = this.rows;
        this.ends = {
            horizontal: axisEnds(report, plane.horizontal),
            vertical: axisEnds(report, plane.vertical),
        };
        this.caption = el('span', { class: 'slice-position', id: `${plane.id}-position` });
        this.canvas = el('canvas', {
            id: `${plane.id}-slice`,
            tabindex: 0,
            role: 'application',
            'aria-roledescription': 'slice view',
            'aria-keyshortcuts': 'ArrowUp ArrowDown ArrowLeft ArrowRight PageUp PageDown Home End',
        });
        this.slider = el('input', {
            type: 'range',
            id: `${plane.id}-slider`,
            min: 0,
            max: grid.size[plane.normal] - 1,
            step: 1,
            'aria-label': `${plane.name} slice`,
        });
        this.element = el(
            'figure',
            { class: 'slice', id: plane.id },
            el('figcaption', {}, el('span', { class: 'slice-name' }, plane.name), this.caption),
            this.canvas,
            this.slider,
        );
        this.listen();
    }

    /** mm of both sides of the picture. */
    get extent(): { width: number; height: number } {
        return {
            width: this.model.grid.extent(this.plane.horizontal),
            height: this.model.grid.extent(this.plane.vertical),
        };
    }

    resize(width: number, height: number): void {
        this.width = width;
        this.height = height;
        this.element.style.width = `${width}px`;
        this.canvas.style.width = `${width}px`;
        this.canvas.style.height = `${height}px`;
    }

    draw(pixelRatio = window.devicePixelRatio): void {
        const { state } = this.store;
        const slice = state.cross[this.plane.normal];
        this.describe(slice);
        const context = this.canvas.getContext('2d');
        if (!context || this.width <= 0) {
            return;
        }
        this.canvas.width = Math.round(this.width * pixelRatio);
        this.canvas.height = Math.round(this.height * pixelRatio);
        context.setTransform(
            this.canvas.width / this.width, 0, 0, this.canvas.height / this.height, 0, 0,
        );
        this.paint(state, slice);
        // Between passing and failing voxels there is nothing to blend.
        context.imageSmoothingEnabled = state.smooth && state.layer !== 'gamma';
        context.imageSmoothingQuality = 'high';
        context.drawImage(this.image, 0, 0, this.width, this.height);
        if (state.isodoses) {
            this.drawIsodoses(context, slice);
        }
        if (state.crosshair) {
            this.drawCrosshair(context, state.cross);
        }
        this.drawEnds(context);
    }

    private describe(slice: number): void {
        const { grid } = this.model;
        const { normal, name } = this.plane;
        const place = `${axisNames[normal]} = ${fixed(grid.coordinate(normal, slice), 1)} mm`;
        const count = `${slice + 1} / ${grid.size[normal]}`;
        this.caption.replaceChildren(place, el('span', { class: 'slice-count' }, count));
        this.slider.value = String(slice);
        this.slider.setAttribute('aria-valuetext', `${place}, slice ${count}`);
        this.canvas.setAttribute(
            'aria-label',
            `${name} slice at ${place}. Arrow keys move the crosshair, Page Up and Page Down the slice.`,
        );
    }

    /** Colours the voxels of the slice, one pixel each. */
    private paint(state: State, slice: number): void {
        const context = this.image.getContext('2d');
        if (!context) {
            return;
        }
        const picture = context.createImageData(this.columns, this.rows);
        const pixels = new Uint32Array(picture.data.buffer);
        const colour = this.colouring(state);
        let pixel = 0;
        this.visit(slice, (index) => {
            pixels[pixel++] = colour(index);
        });
        context.putImageData(picture, 0, 0);
    }

    private colouring(state: State): (index: number) => number {
        const { model } = this;
        const scale = layerScale(state.layer, state);
        const criterion = model.report.criteria[state.criterion];
        switch (state.layer) {
            case 'reference':
                return (index) => scale.colour(model.reference.value(index));
            case 'evaluation':
                return (index) => scale.colour(model.evaluation.value(index));
            case 'difference': {
                const percent = 100 / criterion.normalisationDose;
                return (index) => scale.colour(model.difference(index) * percent);
            }
            case 'gamma': {
                const gamma = model.gamma(state.criterion);
                const grey = greyScale(criterion.normalisationDose);
                return (index) =>
                    !gamma || gamma.data[index] === notTested
                        ? grey.colour(model.reference.value(index))
                        : scale.colour(gamma.value(index));
            }
        }
    }

    /** Calls `take` with the voxels of a slice, row by row as they are drawn. */
    private visit(slice: number, take: (index: number) => void): void {
        const { stride } = this.model.grid;
        const { normal, horizontal, vertical, upwards } = this.plane;
        for (let row = 0; row < this.rows; ++row) {
            const v = upwards ? this.rows - 1 - row : row;
            let index = slice * stride[normal] + v * stride[vertical];
            for (let column = 0; column < this.columns; ++column) {
                take(index);
                index += stride[horizontal];
            }
        }
    }

    private planeValues(field: Field, slice: number): PlaneValues {
        const values = new Float32Array(this.columns * this.rows);
        let next = 0;
        this.visit(slice, (index) => {
            values[next++] = field.value(index) || 0;
        });
        return { width: this.columns, height: this.rows, values };
    }

    private drawIsodoses(context: CanvasRenderingContext2D, slice: number): void {
        const { state } = this.store;
        const normalisation = this.model.report.criteria[state.criterion].normalisationDose;
        const reference = this.planeValues(this.model.reference, slice);
        const evaluation = this.planeValues(this.model.evaluation, slice);
        context.save();
        context.lineJoin = 'round';
        for (const level of isodoseLevels) {
            const dose = (level / 100) * normalisation;
            const solid = isolines(reference, dose);
            this.stroke(context, isolines(evaluation, dose), [4, 3]);
            this.stroke(context, solid, []);
            this.labelLines(context, solid, level);
        }
        context.restore();
    }

    private stroke(context: CanvasRenderingContext2D, lines: Line[], dash: number[]): void {
        const path = new Path2D();
        for (const line of lines) {
            for (let i = 0; i < line.length; i += 2) {
                const x = this.across(line[i]);
                const y = this.down(line[i + 1]);
                if (i === 0) {
                    path.moveTo(x, y);
                } else {
                    path.lineTo(x, y);
                }
            }
        }
        context.setLineDash(dash);
        context.strokeStyle = 'rgb(0 0 0 / 0.55)';
        context.lineWidth = 2.5;
        context.stroke(path);
        context.strokeStyle = 'rgb(255 255 255 / 0.92)';
        context.lineWidth = 1;
        context.stroke(path);
    }

    private labelLines(context: CanvasRenderingContext2D, lines: Line[], level: number): void {
        const longest = lines.reduce((a, b) => (b.length > a.length ? b : a), [] as Line);
        if (longest.length < minimumLabelLength) {
            return;
        }
        // Labels of neighbouring levels start at different places, so that they do not collide.
        const share = 0.15 + (0.7 * isodoseLevels.indexOf(level)) / isodoseLevels.length;
        const at = 2 * Math.floor((share * longest.length) / 2);
        text(context, String(level), this.across(longest[at]), this.down(longest[at + 1]), 'center', 10);
    }

    /** Pixels from a position in columns and rows of voxels, whole numbers at centres. */
    private across(column: number): number {
        return ((column + 0.5) * this.width) / this.columns;
    }

    private down(row: number): number {
        return ((row + 0.5) * this.height) / this.rows;
    }

    private drawCrosshair(context: CanvasRenderingContext2D, cross: Triple): void {
        const { horizontal, vertical, upwards } = this.plane;
        const x = this.across(cross[horizontal]);
        const y = this.down(upwards ? this.rows - 1 - cross[vertical] : cross[vertical]);
        const path = new Path2D();
        for (const [x0, y0, x1, y1] of [
            [0, y, x - crosshairGap, y],
            [x + crosshairGap, y, this.width, y],
            [x, 0, x, y - crosshairGap],
            [x, y + crosshairGap, x, this.height],
        ]) {
            path.moveTo(x0, y0);
            path.lineTo(x1, y1);
        }
        context.strokeStyle = 'rgb(0 0 0 / 0.6)';
        context.lineWidth = 2.5;
        context.stroke(path);
        context.strokeStyle = 'rgb(255 255 255 / 0.85)';
        context.lineWidth = 1;
        context.stroke(path);
    }

    private drawEnds(context: CanvasRenderingContext2D): void {
        const { horizontal, vertical } = this.ends;
        const top = this.plane.upwards ? vertical.high : vertical.low;
        const bottom = this.plane.upwards ? vertical.low : vertical.high;
        text(context, horizontal.low, 6, this.height / 2, 'left', 12);
        text(context, horizontal.high, this.width - 6, this.height / 2, 'right', 12);
        text(context, top, this.width / 2, 11, 'center', 12);
        text(context, bottom, this.width / 2, this.height - 11, 'center', 12);
    }

    private voxelAt(event: PointerEvent): Triple {
        const { normal, horizontal, vertical, upwards } = this.plane;
        const box = this.canvas.getBoundingClientRect();
        const column = Math.floor(((event.clientX - box.left) / box.width) * this.columns);
        const row = Math.floor(((event.clientY - box.top) / box.height) * this.rows);
        const voxel: Triple = [0, 0, 0];
        voxel[normal] = this.store.state.cross[normal];
        voxel[horizontal] = column;
        voxel[vertical] = upwards ? this.rows - 1 - row : row;
        return this.model.grid.clamp(voxel);
    }

    private listen(): void {
        const { canvas, store } = this;
        this.slider.addEventListener('input', () => this.showSlice(Number(this.slider.value)));
        canvas.addEventListener('pointerdown', (event) => {
            if (event.button === 0) {
                canvas.setPointerCapture(event.pointerId);
                store.update({ cross: this.voxelAt(event) });
            }
        });
        canvas.addEventListener('pointermove', (event) => {
            const voxel = this.voxelAt(event);
            store.update({ pointer: voxel });
            if (canvas.hasPointerCapture(event.pointerId)) {
                store.update({ cross: voxel });
            }
        });
        canvas.addEventListener('pointerleave', () => store.update({ pointer: null }));
        canvas.addEventListener('wheel', (event) => this.scroll(event), { passive: false });
        canvas.addEventListener('keydown', (event) => this.press(event));
    }

    private showSlice(slice: number): void {
        const { cross, pointer } = this.store.state;
        const { normal } = this.plane;
        const target = this.model.grid.clamp(moved(cross, normal, slice));
        this.store.update({
            cross: target,
            pointer: pointer && moved(pointer, normal, target[normal]),
        });
    }

    private scroll(event: WheelEvent): void {
        if (event.ctrlKey || event.deltaY === 0) {
            return;
        }
        event.preventDefault();
        // A wheel's notch is about 100 pixels or 3 lines; a touch pad sends many small steps.
        this.wheel += event.deltaMode === WheelEvent.DOM_DELTA_PIXEL ? event.deltaY / 100 : event.deltaY / 3;
        const steps = Math.trunc(this.wheel) || (Math.abs(event.deltaY) >= 50 ? Math.sign(event.deltaY) : 0);
        if (steps !== 0) {
            this.wheel = 0;
            const direction = this.plane.upwards ? 1 : -1;
            this.showSlice(this.store.state.cross[this.plane.normal] + direction * steps);
        }
    }

    private press(event: KeyboardEvent): void {
        const { normal, horizontal, vertical, upwards } = this.plane;
        const { cross } = this.store.state;
        const last = this.model.grid.size[normal] - 1;
        const up = upwards ? 1 : -1;
        const far = event.shiftKey ? 5 : 1;
        const targets: Record<string, [axis: number, to: number]> = {
            ArrowLeft: [horizontal, cross[horizontal] - far],
            ArrowRight: [horizontal, cross[horizontal] + far],
            ArrowUp: [vertical, cross[vertical] + up * far],
            ArrowDown: [vertical, cross[vertical] - up * far],
            PageUp: [normal, cross[normal] + far],
            PageDown: [normal, cross[normal] - far],
            Home: [normal, 0],
            End: [normal, last],
        };
        const target = targets[event.key];
        if (target && !event.ctrlKey && !event.metaKey && !event.altKey) {
            event.preventDefault();
            this.store.update({ cross: this.model.grid.clamp(moved(cross, ...target)) });
        }
    }
}

function text(
    context: CanvasRenderingContext2D,
    label: string,
    x: number,
    y: number,
    align: CanvasTextAlign,
    size: number,
): void {
    context.font = `600 ${size}px system-ui, sans-serif`;
    context.textAlign = align;
    context.textBaseline = 'middle';
    context.setLineDash([]);
    context.lineJoin = 'round';
    context.lineWidth = 3;
    context.strokeStyle = 'rgb(0 0 0 / 0.75)';
    context.strokeText(label, x, y);
    context.fillStyle = '#fff';
    context.fillText(label, x, y);
}
