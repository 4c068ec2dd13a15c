import { arrange, type Space } from './arrangement';
import { shownPlanes } from './axes';
import { css, layerScale } from './colour';
import { byId, el } from './dom';
import { plain } from './format';
import { wholeGrid, type Box } from './frame';
import type { Model } from './model';
import { isodoseLevels } from './overlay';
import { SliceView } from './sliceView';
import { layers, type Changes, type Layer, type State, type Store } from './store';
import { customWindow, layerUnit, presets, ticks, windowKey, type Preset } from './windows';

const onScreen = { gap: 14, trimmings: 62 };
const onPaper = { gap: 14, trimmings: 22 };
const tallestViews = 600;
const narrowPage = 760;
const drawn: (keyof State)[] = [
    'criterion', 'layer', 'cross', 'doseWindow', 'differenceWindow', 'gammaWindow', 'uncertaintyWindow', 'isodoses',
    'crosshair', 'smooth', 'wholeGrid', 'structures', 'appearance',
];

const layerNames: Record<Layer, string> = {
    reference: 'Reference',
    evaluation: 'Evaluation',
    difference: 'Difference',
    gamma: 'Gamma',
    uncertainties: 'Difference / u',
};

/** The three slice views with their tool bar and colour scale. */
export class Viewer {
    private readonly views: SliceView[];
    private readonly host = byId('slices');
    private readonly preset = byId<HTMLSelectElement>('window-preset');
    private readonly low = byId<HTMLInputElement>('window-low');
    private readonly high = byId<HTMLInputElement>('window-high');
    private readonly maximumDose: number;
    private laidOutWidth = -1;

    constructor(
        private readonly model: Model,
        private readonly store: Store,
        maximumDose: number,
    ) {
        this.maximumDose = maximumDose;
        this.views = shownPlanes(model.record).map((plane) => new SliceView(plane, model, store, this.box()));
        this.host.append(...this.views.map((v) => v.element));
        this.buildLayers();
        this.buildWindow();
        this.buildOptions();
        store.subscribe((state, changes) => this.update(state, changes));
        for (const view of this.views) {
            store.subscribe((_, changes) => {
                if (drawn.some((key) => changes.has(key))) {
                    view.draw();
                }
            });
        }
        const resizes = new ResizeObserver(() => {
            if (this.host.clientWidth !== this.laidOutWidth) {
                store.redraw();
            }
        });
        resizes.observe(this.host);
        store.ended.addEventListener('abort', () => resizes.disconnect());
    }

    private update(state: State, changes: Changes): void {
        if (changes.has('appearance') || changes.has('wholeGrid')) {
            this.views.forEach((view) => view.setBox(this.box()));
            this.layOutForScreen();
        }
        this.updateWindow(state);
        this.drawScale(state);
        byId('isodose-note').hidden = !state.isodoses;
        byId<HTMLInputElement>(`layer-${state.layer}`).checked = true;
    }

    private box(): Box {
        return this.store.state.wholeGrid ? wholeGrid(this.model.grid) : this.model.focus;
    }

    /** Draws the slices for paper: CSS pixels for all, with enough pixels for print. */
    drawForPrint(width: number, height: number): void {
        this.layOut({ ...onPaper, width, height }, false);
        this.views.forEach((view) => view.draw(3));
        this.drawScale(this.store.state);
    }

    private layOutForScreen(): void {
        const width = this.host.clientWidth;
        this.laidOutWidth = width;
        this.layOut({ ...onScreen, width, height: tallestViews }, width < narrowPage);
    }

    private layOut(space: Space, narrow: boolean): void {
        const extents = this.views.map((v) => v.frame.extent);
        const { arrangement, scale } = arrange(extents, space, narrow);
        this.host.className = arrangement;
        this.views.forEach((view, i) => {
            view.resize(Math.floor(extents[i].width * scale), Math.floor(extents[i].height * scale));
        });
    }

    /** All for which there is something to show. */
    private layers(): Layer[] {
        return layers.filter((layer) => layer !== 'uncertainties' || this.model.inUncertainties !== null);
    }

    private buildLayers(): void {
        const host = byId('layers');
        for (const [i, layer] of this.layers().entries()) {
            const input = el('input', { type: 'radio', name: 'layer', id: `layer-${layer}`, value: layer });
            input.addEventListener('change', () => this.store.update({ layer }));
            host.append(
                el('label', { title: `Key ${i + 1}` }, input, el('span', {}, layerNames[layer])),
            );
        }
        byId('last-layer').textContent = String(this.layers().length);
        document.addEventListener('keydown', (event) => this.press(event), { signal: this.store.ended });
    }

    private press(event: KeyboardEvent): void {
        const typed = 'input:is([type=number], [type=text], [type=search]), textarea, select';
        const inField = event.target instanceof HTMLElement && event.target.matches(typed);
        const layer = this.layers()[Number(event.key) - 1];
        if (layer && !inField && !event.ctrlKey && !event.metaKey && !event.altKey) {
            this.store.update({ layer });
        }
    }

    private buildWindow(): void {
        this.preset.addEventListener('change', () => {
            const chosen = this.presets()[this.preset.selectedIndex];
            if (chosen) {
                this.store.update({ [windowKey(this.store.state.layer)]: chosen.window });
            }
        });
        const typed = (): void => {
            const { state } = this.store;
            const window = customWindow(state, this.low.valueAsNumber, this.high.valueAsNumber);
            if (window) {
                this.store.update({ [windowKey(state.layer)]: window });
            } else {
                this.updateWindow(state, true);
            }
        };
        this.low.addEventListener('change', typed);
        this.high.addEventListener('change', typed);
    }

    private buildOptions(): void {
        for (const option of ['isodoses', 'crosshair', 'smooth', 'wholeGrid'] as const) {
            const box = byId<HTMLInputElement>(`option-${option}`);
            box.checked = this.store.state[option];
            box.addEventListener('change', () => this.store.update({ [option]: box.checked }));
        }
        byId('isodose-note').textContent =
            `Isodoses ${isodoseLevels.join(', ')} % of the normalisation dose: ` +
            'reference solid, evaluation dashed.';
    }

    private presets(): Preset[] {
        const { state } = this.store;
        const criterion = this.model.record.criteria[state.criterion];
        return presets(state.layer, criterion, this.maximumDose);
    }

    private updateWindow(state: State, resetFields = false): void {
        const window = state[windowKey(state.layer)];
        const choices = this.presets();
        const chosen = choices.findIndex(
            (p) => p.window.low === window.low && p.window.high === window.high,
        );
        this.preset.replaceChildren(
            ...choices.map((p) => el('option', {}, p.name)),
            el('option', { disabled: true }, 'Custom'),
        );
        this.preset.selectedIndex = chosen >= 0 ? chosen : choices.length;
        for (const [field, value] of [[this.low, window.low], [this.high, window.high]] as const) {
            if (resetFields || document.activeElement !== field) {
                field.value = String(Number(value.toPrecision(4)));
            }
        }
        this.low.disabled = state.layer === 'gamma';
        byId('window-unit').textContent = layerUnit(state.layer, this.model.record);
    }

    private drawScale(state: State): void {
        const scale = layerScale(state.layer, state);
        const canvas = byId<HTMLCanvasElement>('scale-bar');
        const context = canvas.getContext('2d');
        const span = scale.high - scale.low;
        canvas.width = 512;
        canvas.height = 1;
        for (let x = 0; context && x < canvas.width; ++x) {
            context.fillStyle = css(scale.colour(scale.low + ((x + 0.5) / canvas.width) * span));
            context.fillRect(x, 0, 1, 1);
        }
        const marks = ticks(scale.low, scale.high, state.layer === 'gamma' ? 4 : 5);
        if (state.layer === 'gamma' && !marks.includes(1)) {
            marks.push(1);
        }
        const unit = layerUnit(state.layer, this.model.record);
        byId('scale-ticks').replaceChildren(
            ...marks.map((value) => {
                const isLimit = state.layer === 'gamma' && value === 1;
                const mark = el('span', { class: isLimit ? 'tick limit' : 'tick' }, plain(value));
                mark.style.left = `${(100 * (value - scale.low)) / span}%`;
                return mark;
            }),
        );
        const name = layerNames[state.layer];
        byId('scale-unit').textContent = name.endsWith(` / ${unit}`) ? name : `${name} / ${unit}`;
    }
}
