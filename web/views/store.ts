import type { Triple } from './record';

export type Layer = 'reference' | 'evaluation' | 'difference' | 'gamma';
export const layers: Layer[] = ['reference', 'evaluation', 'difference', 'gamma'];

export interface Window {
    low: number;
    high: number;
}

export interface State {
    /** Index of the criterion shown. */
    criterion: number;
    layer: Layer;
    /** Voxel of the reference grid. */
    cross: Triple;
    /** Voxel under the pointer, if it is over a slice. */
    pointer: Triple | null;
    doseWindow: Window;
    differenceWindow: Window;
    gammaWindow: Window;
    isodoses: boolean;
    crosshair: boolean;
    smooth: boolean;
    /** Whether the views show the whole grid or only where doses are tested. */
    wholeGrid: boolean;
    /** Structures that are outlined and have their curves drawn, by their index in the record. */
    structures: number[];
    /** The part whose histogram is shown: a structure, their number for what is outside, null for all. */
    part: number | null;
    /** Whether the histogram shows the share of voxels above each gamma instead. */
    gammaVolume: boolean;
    /** Counts changes of theme or size, which only ask for drawing again. */
    appearance: number;
}

export type Changes = Set<keyof State>;
type Listener = (state: State, changes: Changes) => void;

/** The state of the page; listeners hear of changes once per frame. */
export class Store {
    private readonly listeners: Listener[] = [];
    private readonly changes: Changes = new Set();
    private frame = 0;

    constructor(readonly state: State) {}

    subscribe(listener: Listener): void {
        this.listeners.push(listener);
    }

    update(patch: Partial<State>): void {
        for (const [key, value] of Object.entries(patch) as [keyof State, unknown][]) {
            if (!sameValue(this.state[key], value)) {
                Object.assign(this.state, { [key]: value });
                this.changes.add(key);
            }
        }
        if (this.changes.size > 0 && this.frame === 0) {
            this.frame = requestAnimationFrame(() => this.flush());
        }
    }

    /** Tells the listeners at once; printing cannot wait for the next frame. */
    flush(): void {
        cancelAnimationFrame(this.frame);
        this.frame = 0;
        const changes = new Set(this.changes);
        this.changes.clear();
        for (const listener of this.listeners) {
            listener(this.state, changes);
        }
    }

    redraw(): void {
        this.update({ appearance: this.state.appearance + 1 });
    }

    /** Lets everything that depends on `keys` be shown again, though they are what they were. */
    announce(...keys: (keyof State)[]): void {
        keys.forEach((key) => this.changes.add(key));
        this.flush();
    }
}

function sameValue(a: unknown, b: unknown): boolean {
    return a === b || JSON.stringify(a) === JSON.stringify(b);
}
