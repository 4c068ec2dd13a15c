/** One comparison after another: computed when what is asked changes, shown when it is there. */

import { Stopped, type EngineClient } from '../engine/client';
import { EngineFailure } from '../engine/engine';
import { EngineData } from '../engine/engineData';
import type { EngineError, Progress } from '../engine/messages';
import type { ComparisonRequest } from '../engine/request';
import type { Shown } from '../views/carriedOver';
import { byId } from '../views/dom';
import { showComparison } from '../views/page';
import { showHeaderOfFiles } from './headerForm';
import type { ProgressLine } from './progressLine';

/** A comparison on the page. */
export interface Current extends Shown {
    readonly request: ComparisonRequest;
}

/** ms: what runs longer is ended for the next one, which is ready sooner than a new worker otherwise. */
const soonDone = 1000;

export interface Listener {
    /** Null: nothing is shown now. */
    shown(current: Current | null): void;
    /** What is shown is not what is asked: it ended before it was there. */
    stale(isStale: boolean): void;
    /** Null: what was told before is over. */
    problem(failure: EngineError | null): void;
    idle(): void;
}

export class Comparisons {
    private current: Current | null = null;
    /** The one before, whose view of things the next one takes over. */
    private before: Shown | null = null;
    private wanted: ComparisonRequest | null = null;
    private asked: ComparisonRequest | null = null;
    private started: number | null = null;
    /** Ends what is under way for the next one. */
    private end = 0;
    /** Whether nothing is asked for any more. */
    private isDropped = false;
    private coming: AbortController | null = null;
    private ended: AbortController | null = null;

    constructor(
        private readonly client: EngineClient,
        private readonly progress: ProgressLine,
        private readonly listener: Listener,
    ) {}

    isRunning(): boolean {
        return this.started !== null;
    }

    /** Computes this instead of what is under way; null: nothing. */
    ask(request: ComparisonRequest | null): void {
        if (!request || !this.current || !hasSameFiles(request, this.current.request)) {
            this.clear();
        }
        this.isDropped = !request;
        this.asked = request;
        this.wanted = request;
        if (this.started !== null) {
            this.giveWay(request ? this.started + soonDone - performance.now() : 0);
        } else if (request) {
            void this.run();
        }
    }

    again(): void {
        this.ask(this.asked);
    }

    stop(): void {
        this.wanted = null;
        this.client.stop();
    }

    private giveWay(soon: number): void {
        clearTimeout(this.end);
        if (soon > 0) {
            this.end = window.setTimeout(() => this.client.stop(), soon);
        } else {
            this.client.stop();
        }
    }

    private async run(): Promise<void> {
        while (this.wanted) {
            const request = this.wanted;
            this.wanted = null;
            this.started = performance.now();
            this.listener.problem(null);
            state('computing');
            this.progress.begin(request.criteria.length);
            try {
                await this.compute(request);
            } catch (error) {
                this.fail(error);
            }
            clearTimeout(this.end);
            this.progress.end();
            this.started = null;
        }
        this.listener.idle();
    }

    private async compute(request: ComparisonRequest): Promise<void> {
        const { record, headerOfFiles, isocentres } = await this.client.compare(request, (p: Progress) => this.progress.tell(p));
        record.isocentres = isocentres; // for the screen: documents tell them only where that is asked for
        showHeaderOfFiles(headerOfFiles);
        if (this.wanted) {
            return;
        }
        const data = await EngineData.load(record, request, this.client);
        if (!this.wanted) {
            await this.show(request, data);
        }
    }

    /** Waits until the comparison is placed; its other maps follow. */
    private show(request: ComparisonRequest, data: EngineData): Promise<void> {
        this.coming?.abort();
        const controller = new AbortController();
        this.coming = controller;
        return new Promise((placed, fail) => {
            const place = (shown: Shown): void => {
                this.replaceMarkup(controller);
                this.current = { ...shown, request };
                this.listener.stale(false);
                this.listener.shown(this.current);
                placed();
            };
            const showing = { place, before: this.current ?? this.before, ended: controller.signal };
            const shown = showComparison(data, showing).then(() => (byId('results').style.minHeight = ''));
            shown.catch((error: unknown) => {
                if (controller.signal.aborted) {
                    placed();
                } else {
                    fail(error);
                }
            });
        });
    }

    private replaceMarkup(controller: AbortController | null): void {
        this.ended?.abort();
        this.ended = controller;
        this.coming = null;
        const results = byId('results');
        const tall = results.offsetHeight;
        results.style.minHeight = controller ? `${tall}px` : ''; // the page must not jump
        const markup = byId<HTMLTemplateElement>('results-markup').content;
        results.replaceChildren(...(controller ? [markup.cloneNode(true)] : []));
    }

    private clear(): void {
        this.coming?.abort();
        if (this.current) {
            this.before = this.current;
            this.current = null;
            this.replaceMarkup(null);
            this.listener.shown(null);
        }
        showHeaderOfFiles(null);
        this.listener.problem(null);
        this.listener.stale(false);
        state('start');
    }

    private fail(error: unknown): void {
        if (this.wanted || this.isDropped) {
            return;
        }
        const isStopped = error instanceof Stopped;
        const isBroken = error instanceof EngineFailure && (error.kind === 'memory' || error.kind === 'internal');
        if (isBroken) {
            this.client.stop(); // its memory does not shrink otherwise
        }
        state(isStopped ? 'stopped' : 'failed');
        this.listener.stale(true);
        this.listener.problem(failureOf(error).told);
    }
}

function failureOf(error: unknown): EngineFailure {
    if (error instanceof Stopped) {
        return EngineFailure.of('The computation was stopped.', 'interrupted');
    }
    if (!(error instanceof EngineFailure)) {
        return EngineFailure.of(error instanceof Error ? error.message : String(error));
    }
    return error.kind === 'memory'
        ? EngineFailure.of('There is not enough memory in this browser for this comparison.', 'memory')
        : error;
}

function state(name: string): void {
    document.documentElement.dataset.state = name;
}

function hasSameFiles(a: ComparisonRequest, b: ComparisonRequest): boolean {
    return a.reference.file === b.reference.file && a.evaluation.file === b.evaluation.file;
}
