import { axisEnds, axisNames, moved, type AxisEnds, type Plane } from './axes';
import { greyScale, layerScale } from './colour';
import { el } from './dom';
import { fixed } from './format';
import { Frame, type Box } from './frame';
import type { Model } from './model';
import { drawOutline, outlinePath } from './outlines';
import { drawCrosshair, drawEnds, drawIsocentre, drawIsodoses, drawRuler } from './overlay';
import type { Triple } from './record';
import type { State, Store } from './store';

/** A slice through the doses or the gamma map, with crosshair, slider and keys. */
export class SliceView {
    readonly element: HTMLElement;
    frame: Frame;
    private readonly canvas: HTMLCanvasElement;
    private readonly slider: HTMLInputElement;
    private readonly caption: HTMLElement;
    private readonly image = document.createElement('canvas');
    private readonly ends: { horizontal: AxisEnds; vertical: AxisEnds };
    private wheel = 0;

    constructor(
        readonly plane: Plane,
        private readonly model: Model,
        private readonly store: Store,
        box: Box,
    ) {
        const { grid, record } = model;
        this.frame = new Frame(grid, plane, box);
        this.ends = {
            horizontal: axisEnds(record, plane.horizontal),
            vertical: axisEnds(record, plane.vertical),
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

    /** Shows these voxels of its plane. */
    setBox(box: Box): void {
        this.frame = new Frame(this.model.grid, this.plane, box);
    }

    resize(width: number, height: number): void {
        Object.assign(this.frame, { width, height });
        this.element.style.width = `${width}px`;
        this.canvas.style.width = `${width}px`;
        this.canvas.style.height = `${height}px`;
    }

    draw(pixelRatio = window.devicePixelRatio): void {
        const { frame, canvas } = this;
        const { state } = this.store;
        const slice = state.cross[this.plane.normal];
        this.describe(slice);
        const context = canvas.getContext('2d');
        if (!context || frame.width <= 0) {
            return;
        }
        canvas.width = Math.round(frame.width * pixelRatio);
        canvas.height = Math.round(frame.height * pixelRatio);
        context.setTransform(canvas.width / frame.width, 0, 0, canvas.height / frame.height, 0, 0);
        this.paint(state, slice);
        // Between passing and failing voxels there is nothing to blend.
        context.imageSmoothingEnabled = state.smooth && state.layer !== 'gamma';
        context.imageSmoothingQuality = 'high';
        context.drawImage(this.image, 0, 0, frame.width, frame.height);
        this.drawOverlay(context, state, slice);
    }

    /** Those within the slice. */
    private drawIsocentres(context: CanvasRenderingContext2D, slice: number): void {
        const { grid, record } = this.model;
        const { normal, horizontal, vertical } = this.plane;
        for (const place of record.isocentres ?? []) {
            const index = (place[normal] - grid.origin[normal]) / grid.spacing[normal];
            if (Math.abs(index - slice) <= 0.5) {
                drawIsocentre(context, this.frame.place(place[horizontal], place[vertical]));
            }
        }
    }

    private drawOverlay(context: CanvasRenderingContext2D, state: State, slice: number): void {
        const { reference, evaluation, record } = this.model;
        if (state.isodoses) {
            const normalisation = record.criteria[state.criterion].normalisationDose;
            const solid = this.model.hasGaps ? null : reference;
            drawIsodoses(context, this.frame, slice, { reference: solid, evaluation, normalisation });
        }
        this.drawStructures(context, state, slice);
        this.drawIsocentres(context, slice);
        if (state.crosshair) {
            drawCrosshair(context, this.frame, state.cross);
        }
        const { high, low } = this.ends.vertical;
        const vertical: [string, string] = this.plane.upwards ? [high, low] : [low, high];
        drawEnds(context, this.frame, this.ends.horizontal, vertical);
        drawRuler(context, this.frame);
    }

    private drawStructures(context: CanvasRenderingContext2D, state: State, slice: number): void {
        const { grid, record, shapes } = this.model;
        for (const index of state.structures) {
            const shape = shapes.shape(index);
            if (shape && record.structures) {
                const path = outlinePath(shape, grid, this.plane, this.frame, slice);
                drawOutline(context, path, record.structures.list[index].colour);
            }
        }
    }

    private describe(slice: number): void {
        const { grid } = this.model;
        const { normal, name } = this.plane;
        const place = `${axisNames[normal]} = ${fixed(grid.coordinate(normal, slice), 1)} mm`;
        const isPlane = this.model.record.measurements?.reference?.kind === 'plane';
        this.slider.hidden = isPlane;
        const count = isPlane ? '' : `${slice + 1} / ${grid.size[normal]}`;
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
        this.image.width = this.frame.columns;
        this.image.height = this.frame.rows;
        const context = this.image.getContext('2d');
        if (!context) {
            return;
        }
        const picture = context.createImageData(this.image.width, this.image.height);
        const pixels = new Uint32Array(picture.data.buffer);
        const colour = this.colouring(state);
        let pixel = 0;
        this.frame.visit(slice, (index) => {
            pixels[pixel++] = colour(index);
        });
        context.putImageData(picture, 0, 0);
    }

    private colouring(state: State): (index: number) => number {
        const { model } = this;
        const scale = layerScale(state.layer, state);
        const criterion = model.record.criteria[state.criterion];
        switch (state.layer) {
            case 'reference':
                return (index) => scale.colour(model.reference.value(index));
            case 'evaluation':
                return (index) => scale.colour(model.evaluation.value(index));
            case 'difference': {
                const percent = 100 / criterion.normalisationDose;
                return (index) => scale.colour(model.difference(index) * percent);
            }
            case 'uncertainties': {
                const grey = greyScale(criterion.normalisationDose);
                return (index) => {
                    const value = model.inUncertainties?.value(index) ?? NaN;
                    return Number.isNaN(value) ? grey.colour(model.reference.value(index)) : scale.colour(value);
                };
            }
            case 'gamma': {
                const gamma = model.gamma(state.criterion);
                const grey = greyScale(criterion.normalisationDose);
                // Between detectors the planned dose is seen.
                const beneath = model.hasGaps ? model.evaluation : model.reference;
                return (index) =>
                    gamma?.isTested(index)
                        ? scale.colour(gamma.value(index))
                        : grey.colour(beneath.value(index));
            }
        }
    }

    private voxelAt(event: PointerEvent): Triple {
        const box = this.canvas.getBoundingClientRect();
        const slice = this.store.state.cross[this.plane.normal];
        const x = (event.clientX - box.left) / box.width;
        const y = (event.clientY - box.top) / box.height;
        return this.frame.voxelAt(slice, x, y);
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
