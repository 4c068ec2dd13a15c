import { pause } from './pieces';
import type { Triple } from './record';

/** uncertainties: the difference in units of its uncertainty, where that is known. */
export type Layer = 'reference' | 'evaluation' | 'difference' | 'gamma' | 'uncertainties';
export const layers: Layer[] = ['reference', 'evaluation', 'difference', 'gamma', 'uncertainties'];

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
    uncertaintyWindow: Window;
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

/** ms of a frame after which the other listeners hear of the change in the next one. */
const budget = 8;

interface Listening {
    tell: Listener;
    pending: Changes;
}

/**
 * The state of the page; listeners hear of changes once per frame, one after another over several
 * frames where they need long. The root element has data-drawing as long as that takes.
 */
export class Store {
    private readonly listening: Listening[] = [];
    private next = 0;
    private frame = 0;

    /** @param ended when another comparison takes the place of this one */
    constructor(
        readonly state: State,
        readonly ended: AbortSignal = new AbortController().signal,
    ) {
        ended.addEventListener('abort', () => {
            this.listening.length = 0;
            this.finish();
        });
    }

    subscribe(tell: Listener): void {
        this.listening.push({ tell, pending: new Set() });
    }

    update(patch: Partial<State>): void {
        for (const [key, value] of Object.entries(patch) as [keyof State, unknown][]) {
            if (!sameValue(this.state[key], value)) {
                Object.assign(this.state, { [key]: value });
                this.mark(key);
            }
        }
        this.schedule();
    }

    /** Tells the listeners at once; printing cannot wait for the next frame. */
    flush(): void {
        while (this.tellNext());
        this.finish();
    }

    redraw(): void {
        this.update({ appearance: this.state.appearance + 1 });
    }

    /** Lets everything that depends on `keys` be shown again, though they are what they were. */
    async announce(...keys: (keyof State)[]): Promise<void> {
        keys.forEach((key) => this.mark(key));
        while (this.tellNext()) {
            await pause();
        }
        this.finish();
    }

    private mark(key: keyof State): void {
        this.listening.forEach(({ pending }) => pending.add(key));
    }

    private isPending(): boolean {
        return this.listening.some(({ pending }) => pending.size > 0);
    }

    private schedule(): void {
        if (this.frame === 0 && this.isPending()) {
            document.documentElement.dataset.drawing = '';
            this.frame = requestAnimationFrame(() => this.draw());
        }
    }

    private draw(): void {
        this.frame = 0;
        const end = performance.now() + budget;
        while (performance.now() < end && this.tellNext());
        if (this.isPending()) {
            this.schedule();
        } else {
            this.finish();
        }
    }

    private finish(): void {
        cancelAnimationFrame(this.frame);
        this.frame = 0;
        delete document.documentElement.dataset.drawing;
    }

    /** In turn: who comes later must not starve while the crosshair is dragged. False: all know. */
    private tellNext(): boolean {
        const { listening } = this;
        for (let i = 0; i < listening.length; ++i) {
            const at = (this.next + i) % listening.length;
            const { tell, pending } = listening[at];
            if (pending.size > 0) {
                listening[at].pending = new Set();
                this.next = at + 1;
                tell(this.state, pending);
                return true;
            }
        }
        return false;
    }
}

function sameValue(a: unknown, b: unknown): boolean {
    return a === b || JSON.stringify(a) === JSON.stringify(b);
}
