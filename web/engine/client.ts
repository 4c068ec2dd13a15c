/** The engine as a page sees it: promises, and a worker that can be stopped. */

import { EngineFailure } from './engine';
import type {
    ComparisonAnswer, ConversionAsked, ExamplePart, FileFacts, Progress, ProtocolFacts, RatesAnswer,
    RequestAnswer, SelfTestRecord, StructurePart, VolumeName,
} from './messages';
import { Helpers, usefulHelpers } from './helpers';
import type { Call, Found, Reply } from './protocol';
import type { ComparisonRequest, RequestDocument, TableUnits } from './request';
import type { StoredVolume } from '../views/comparison';
import { GammaMap } from '../views/gammaMap';
import type { Grid } from '../views/grid';

/** What a request that was stopped ends with. */
export class Stopped extends Error {
    constructor() {
        super('the computation was stopped');
    }
}

/** ms: about what a new worker takes until it is ready, so that ending one sooner gains nothing. */
const renewal = 200;

interface Waiting {
    resolve(reply: { answer: unknown; output?: ArrayBuffer }): void;
    reject(error: Error): void;
    progress?: (progress: Progress) => void;
}

export class EngineClient {
    private worker: Worker;
    private readonly helpers: Helpers;
    private readonly files = new Map<string, File>();
    private waiting = new Map<number, Waiting>();
    private lastId = 0;
    /** What the worker holds the results of. */
    private held: ComparisonRequest | null = null;
    /** Settles with the work that gives way to any other, and never rejects. */
    private background: Promise<void> | null = null;

    /**
     * @param startWorker makes a worker of worker.ts
     * @param commandOf the command that makes the same comparison, which records tell
     */
    constructor(
        private readonly startWorker: () => Worker,
        private readonly commandOf: (request: RequestDocument) => string,
    ) {
        this.helpers = new Helpers(startWorker, usefulHelpers());
        this.worker = this.start();
    }

    /** Gives the worker a file, or takes it away. */
    async setFile(path: string, file: File | null): Promise<void> {
        if (file) {
            this.files.set(path, file);
        } else {
            this.files.delete(path);
        }
        await this.endBackground();
        await this.send({ call: 'file', path, file });
    }

    /** @param units of files that tell none */
    async identify(path: string, units: TableUnits): Promise<FileFacts> {
        return (await this.send({ call: 'identify', path, units })).answer as FileFacts;
    }

    /**
     * The request of a text, which holds one or a record, with the text to save it by. Rejects with an
     * EngineFailure.
     */
    async request(text: string): Promise<RequestAnswer & { saved: ArrayBuffer }> {
        const { answer, output } = await this.send({ call: 'request', text });
        return { ...(answer as RequestAnswer), saved: output! };
    }

    /** Those that are shipped. */
    async protocols(): Promise<ProtocolFacts[]> {
        const { answer } = await this.send({ call: 'protocols' });
        return (answer as { protocols: ProtocolFacts[] }).protocols;
    }

    async protocol(name: string): Promise<RequestDocument> {
        const { answer } = await this.send({ call: 'protocol', name });
        return (answer as { request: RequestDocument }).request;
    }

    /** Rejects with an EngineFailure, or Stopped. */
    async compare(
        request: ComparisonRequest,
        progress?: (progress: Progress) => void,
    ): Promise<ComparisonAnswer> {
        await this.endBackground();
        return this.make(request, progress);
    }

    /**
     * Pass rates for another criterion, everything else as in a comparison that was made. Ends with
     * Stopped when files or another comparison come meanwhile.
     */
    async rates(of: ComparisonRequest, criterion: string): Promise<RatesAnswer> {
        const asked = this.ask(of, { call: 'rates', criterion });
        const settled = asked.then(
            () => {},
            () => {},
        );
        this.background = settled;
        try {
            return (await asked).answer as RatesAnswer;
        } finally {
            if (this.background === settled) {
                this.background = null;
            }
        }
    }

    async volume(of: ComparisonRequest, volume: VolumeName): Promise<StoredVolume> {
        const { answer, output } = await this.ask(of, { call: 'volume', volume });
        const { decimals } = answer as { decimals: number };
        return { decimals, values: new Int16Array(output!) };
    }

    /** @param criterion null: with what explains the failed voxels */
    async gamma(of: ComparisonRequest, grid: Grid, criterion: number | null): Promise<GammaMap> {
        const rows = await this.ask(of, { call: 'testedGammas', criterion, part: 'rows' });
        const { answer, output } = await this.ask(of, { call: 'testedGammas', criterion, part: 'values' });
        const { decimals } = answer as { decimals: number };
        return GammaMap.ofRows(grid, decimals, new Int32Array(rows.output!), new Int16Array(output!));
    }

    /** Null where it has no contours. */
    async structure(of: ComparisonRequest, structure: number, part: StructurePart): Promise<Int32Array | null> {
        const { output } = await this.ask(of, { call: 'structure', structure, part });
        return output ? new Int32Array(output) : null;
    }

    async record(of: ComparisonRequest): Promise<ArrayBuffer> {
        return (await this.ask(of, { call: 'document', document: 'record' })).output!;
    }

    async csv(of: ComparisonRequest): Promise<ArrayBuffer> {
        return (await this.ask(of, { call: 'document', document: 'csv' })).output!;
    }

    /** @param template the page of a comparison without data */
    async page(of: ComparisonRequest, template: string): Promise<ArrayBuffer> {
        return (await this.ask(of, { call: 'document', document: 'page', template })).output!;
    }

    /** @param name its ending tells the format: .nrrd, .mha, .nii, .nii.gz */
    async gammaMap(of: ComparisonRequest, criterion: number, name: string): Promise<ArrayBuffer> {
        return (await this.ask(of, { call: 'document', document: 'gammaMap', criterion, name })).output!;
    }

    /** A dose in another format, and whether that file names a patient. Rejects with an EngineFailure, or Stopped. */
    async convert(asked: ConversionAsked): Promise<{ file: ArrayBuffer; namesPatient: boolean }> {
        await this.endBackground();
        const { answer, output } = await this.send({ call: 'convert', ...asked });
        return { file: output!, namesPatient: (answer as { namesPatient: boolean }).namesPatient };
    }

    /** A file of the built-in example. */
    async example(part: ExamplePart): Promise<File> {
        const { answer, output } = await this.send({ call: 'example', part });
        return new File([output!], (answer as { name: string }).name);
    }

    /** The acceptance test, with its record as a page; takes half a minute. */
    async selfTest(progress: (progress: Progress) => void): Promise<{ record: SelfTestRecord; page: ArrayBuffer }> {
        const { answer, output } = await this.send({ call: 'selfTest' }, progress);
        return { record: (answer as { record: SelfTestRecord }).record, page: output! };
    }

    /** Ends the worker for good: what waits is rejected with Stopped. */
    close(): void {
        this.worker.terminate();
        this.helpers.close();
        this.waiting.forEach(({ reject }) => reject(new Stopped()));
    }

    /** Ends what is under way: all that waits is rejected with Stopped. The files are kept. */
    stop(): void {
        this.worker.terminate();
        this.helpers.close();
        const { waiting } = this;
        this.waiting = new Map();
        this.held = null;
        this.background = null;
        this.worker = this.start();
        for (const [path, file] of this.files) {
            void this.send({ call: 'file', path, file });
        }
        waiting.forEach(({ reject }) => reject(new Stopped()));
    }

    private async make(
        request: ComparisonRequest,
        progress?: (progress: Progress) => void,
    ): Promise<ComparisonAnswer> {
        this.held = null;
        const { anonymous, ...document } = request;
        const command = this.commandOf(document);
        const call: Call = { call: 'compare', request: document, anonymous, command, helpers: usefulHelpers() };
        const { answer } = await this.send(call, progress).finally(() => this.helpers.close());
        this.held = request;
        return answer as ComparisonAnswer;
    }

    private async endBackground(): Promise<void> {
        const { background } = this;
        if (background) {
            await Promise.race([background, new Promise((over) => setTimeout(over, renewal))]);
            if (this.background === background) {
                this.stop();
            }
        }
    }

    /** Of the results of a comparison, made again where the worker holds others. */
    private async ask(of: ComparisonRequest, call: Call): Promise<{ answer: unknown; output?: ArrayBuffer }> {
        // Meanwhile another comparison may have been asked for.
        while (this.held !== of) {
            await this.make(of);
        }
        return this.send(call);
    }

    private send(
        call: Call,
        progress?: (progress: Progress) => void,
    ): Promise<{ answer: unknown; output?: ArrayBuffer }> {
        const id = ++this.lastId;
        return new Promise((resolve, reject) => {
            this.waiting.set(id, { resolve, reject, progress });
            this.worker.postMessage({ id, call });
        });
    }

    private hand(found: Found): void {
        this.worker.postMessage(found, found.output ? [found.output] : []);
    }

    private start(): Worker {
        const worker = this.startWorker();
        worker.onmessage = (event: MessageEvent<Reply>): void => this.receive(event.data);
        worker.onerror = (event): void => this.fail(event.message || 'the worker of this page cannot start');
        return worker;
    }

    private receive(reply: Reply): void {
        if ('wanted' in reply) {
            this.helpers.search(reply.part, (output) => this.hand({ found: reply.wanted, output }));
            return;
        }
        const waiting = this.waiting.get(reply.id);
        if (!waiting) {
            return;
        }
        if ('progress' in reply) {
            waiting.progress?.(reply.progress);
            return;
        }
        this.waiting.delete(reply.id);
        if ('failure' in reply) {
            waiting.reject(new EngineFailure(reply.failure));
        } else {
            waiting.resolve(reply);
        }
    }

    /** The worker is gone: memory that ran out, or a fault. */
    private fail(reason: string): void {
        const { waiting } = this;
        this.waiting = new Map();
        this.held = null;
        waiting.forEach(({ reject }) => reject(EngineFailure.of(reason)));
    }
}
