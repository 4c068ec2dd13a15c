/** Workers that search parts of a comparison for the one that has its doses. */

import type { Call, Part, Reply } from './protocol';

interface Waiting {
    part: Part;
    done(output: ArrayBuffer | null): void;
}

/** More would take more memory than they save time. */
const most = 4;

/** How many are worth it on this computer: none where it has one processor. */
export function usefulHelpers(): number {
    const processors = navigator.hardwareConcurrency || 1;
    return processors < 2 ? 0 : Math.min(processors, most);
}

export class Helpers {
    private readonly idle = new Set<Worker>();
    private readonly working = new Map<Worker, Waiting>();
    private waiting: Waiting[] = [];
    private started = 0;

    /** @param startWorker makes a worker of worker.ts */
    constructor(
        private readonly startWorker: () => Worker,
        private readonly limit: number,
    ) {}

    /** Has a part searched. @param done is handed what was found; null: no helper can do it */
    search(part: Part, done: (output: ArrayBuffer | null) => void): void {
        this.waiting.push({ part, done });
        this.goOn();
    }

    /** Ends all of them. What they were searching is told to nobody. */
    close(): void {
        [...this.idle, ...this.working.keys()].forEach((worker) => worker.terminate());
        this.idle.clear();
        this.working.clear();
        this.waiting = [];
        this.started = 0;
    }

    private goOn(): void {
        while (this.waiting.length > 0) {
            const worker = this.free();
            if (!worker) {
                break;
            }
            this.give(worker, this.waiting.shift()!);
        }
        if (this.working.size === 0) {
            // None is left.
            this.waiting.splice(0).forEach(({ done }) => done(null));
        }
    }

    private free(): Worker | null {
        const [worker] = this.idle;
        if (!worker) {
            return this.another();
        }
        this.idle.delete(worker);
        return worker;
    }

    private give(worker: Worker, wanted: Waiting): void {
        this.working.set(worker, wanted);
        const { part, reference, evaluation } = wanted.part;
        const call: Call = { call: 'searchElsewhere', part, reference, evaluation };
        worker.postMessage({ id: 0, call }, [reference, evaluation]);
    }

    private another(): Worker | null {
        if (this.started === this.limit) {
            return null;
        }
        ++this.started;
        const worker = this.startWorker();
        worker.onmessage = ({ data }: MessageEvent<Reply>): void => this.receive(worker, data);
        worker.onerror = (): void => this.lose(worker);
        return worker;
    }

    private receive(worker: Worker, reply: Reply): void {
        if (!('answer' in reply) || !reply.output) {
            this.lose(worker);
            return;
        }
        const wanted = this.working.get(worker);
        this.working.delete(worker);
        this.idle.add(worker);
        wanted?.done(reply.output);
        this.goOn();
    }

    /** It did not start, or had not enough memory: the part is given back, and nobody takes its place. */
    private lose(worker: Worker): void {
        const wanted = this.working.get(worker);
        this.working.delete(worker);
        this.idle.delete(worker);
        worker.terminate();
        wanted?.done(null);
        this.goOn();
    }
}
