/** The thread that reads and computes: keeps the files and the engine, answers one request after another. */

import wasmBase64 from 'zarngi-engine-binary';
import { digestOf } from './digest';
import { Engine, EngineFailure } from './engine';
import { makeHost } from './host';
import type { ComparisonAnswer, FileFacts } from './messages';
import { PageFiles, release } from './pageFiles';
import type { Call, Found, Part, Reply, Request } from './protocol';
import { filesOf, type RequestDocument, type TableUnits } from './request';

interface Digest {
    bytes: number;
    sha256: string;
}

const files = new PageFiles();
const facts = new Map<string, FileFacts>();
const digests = new Map<string, Digest>();
let running: Request | null = null;

const post = (reply: Reply, transfer: Transferable[] = []): void => postMessage(reply, { transfer });

function bytesOf(base64: string): Uint8Array {
    const text = atob(base64);
    const bytes = new Uint8Array(text.length);
    for (let i = 0; i < text.length; ++i) {
        bytes[i] = text.charCodeAt(i);
    }
    return bytes;
}

const host = makeHost(files, (criterion, shell, shellLimit, share) => {
    if (running) {
        post({ id: running.id, progress: { criterion, shell, shellLimit, share } });
    }
});
const engine = Engine.start(host, bytesOf(wasmBase64));

/** Drops what is known of a path whose file is another one now. */
function changeFile(path: string, file: File | null, known: Engine): void {
    known.call({ call: 'forget', path });
    facts.delete(path);
    digests.delete(path);
    if (file) {
        files.add(path, file);
    } else {
        files.remove(path);
    }
}

function dataPathOf(path: string, units: TableUnits, known: Engine): string {
    let found = facts.get(path);
    if (!found) {
        found = known.call<FileFacts>({ call: 'identify', path, units });
        facts.set(path, found);
    }
    return 'dataPath' in found ? found.dataPath : path;
}

/** Throws where the file has changed since it was read: what it was is not known any more. */
async function digestFor(path: string): Promise<Digest> {
    const digest = await files.digest(path).catch((error: Error) => {
        throw EngineFailure.ofFile(path, `cannot be read: ${error.message}`, 'system');
    });
    if (!digest) {
        throw EngineFailure.ofFile(path, 'no such file', 'system');
    }
    digests.set(path, digest);
    return digest;
}

async function digestsFor(request: RequestDocument, known: Engine): Promise<object> {
    const wanted: Record<string, object> = {};
    for (const path of filesOf(request)) {
        for (const part of new Set([path, dataPathOf(path, request.units, known)])) {
            wanted[part] = digests.get(part) ?? (await digestFor(part));
        }
    }
    return wanted;
}

async function compare(call: Call & { call: 'compare' }, known: Engine): Promise<ComparisonAnswer> {
    const start = performance.now();
    const digests = await digestsFor(call.request, known);
    const readSeconds = (performance.now() - start) / 1000;
    let answer = known.call<ComparisonAnswer | { parts: number }>({ ...call, digests, readSeconds });
    while ('parts' in answer) {
        await searchParts(known, Math.min(call.helpers, answer.parts));
        answer = known.call<ComparisonAnswer | { parts: number }>({ call: 'goOn' });
    }
    return answer;
}

/** Has all parts of a search searched, by helpers or, where there are none, here. */
async function searchParts(known: Engine, helpers: number): Promise<void> {
    // One part more than there are helpers, lest one of them waits for its doses.
    const takers = helpers === 0 ? 1 : helpers + 1;
    try {
        await Promise.all(Array.from({ length: takers }, () => searchNextParts(known, helpers > 0)));
    } finally {
        elsewhere.clear(); // what comes late is of a search that has failed
    }
}

async function searchNextParts(known: Engine, hasHelpers: boolean): Promise<void> {
    for (;;) {
        const { part } = known.call<{ part: object | null }>({ call: 'nextPart' });
        if (!part) {
            return;
        }
        const output = hasHelpers ? await foundElsewhere(part, known) : null;
        if (output) {
            const count = output.byteLength / 5; // a float and a byte of each voxel
            const found = [new Uint8Array(output, 0, 4 * count), new Uint8Array(output, 4 * count)];
            known.call({ call: 'takePart', part }, found);
            release(output);
        } else {
            known.call({ call: 'searchPart', part });
        }
    }
}

/** Who is told what was found in parts, by their numbers. */
const elsewhere = new Map<number, (output: ArrayBuffer | null) => void>();
let lastWanted = 0;

function foundElsewhere(part: object, known: Engine): Promise<ArrayBuffer | null> {
    const doses = (grid: string): ArrayBuffer =>
        known.output(known.call<{ bytes: number }>({ call: 'partDoses', part, grid }).bytes);
    const reference = doses('reference');
    const evaluation = doses('evaluation');
    const wanted = ++lastWanted;
    post({ id: running!.id, wanted, part: { part, reference, evaluation } }, [reference, evaluation]);
    return new Promise((resolve) => elsewhere.set(wanted, resolve));
}

/** A part for another worker: what is found goes with its message. */
function searchElsewhere({ part, reference, evaluation }: Part, known: Engine): ArrayBuffer {
    const doses = [reference, evaluation].map((buffer) => new Uint8Array(buffer));
    const { bytes } = known.call<{ bytes: number }>({ call: 'searchElsewhere', part }, doses);
    [reference, evaluation].forEach(release);
    return known.output(bytes);
}

/** The acceptance test tells where it was made, and of what. */
async function withInstallation(call: Call): Promise<object> {
    const engineBytes = bytesOf(wasmBase64) as Uint8Array<ArrayBuffer>;
    const digest = { bytes: engineBytes.length, sha256: await digestOf(engineBytes) };
    return { ...call, system: navigator.userAgent, engine: digest };
}

/** Numbers that the engine gives piece by piece, in one: beside its doses there is little room. */
function joined(call: Call, known: Engine): { answer: object; output: ArrayBuffer } {
    let answer = { voxels: 0, bytes: 0 };
    let words: Uint8Array | null = null;
    for (let filled = 0; !words || filled < words.length; filled += answer.bytes) {
        answer = known.call<typeof answer>({ ...call, from: filled / 2 });
        words ??= new Uint8Array(2 * answer.voxels);
        words.set(known.seen(answer.bytes), filled);
    }
    return { answer, output: words.buffer as ArrayBuffer };
}

async function answer(request: Request, known: Engine): Promise<void> {
    const { id, call } = request;
    if (call.call === 'file') {
        changeFile(call.path, call.file, known);
        post({ id, answer: {} });
    } else if (call.call === 'identify') {
        const found = known.call<FileFacts>(call);
        facts.set(call.path, found);
        post({ id, answer: found });
    } else if (call.call === 'compare') {
        post({ id, answer: await compare(call, known) });
    } else if (call.call === 'searchElsewhere') {
        const output = searchElsewhere(call, known);
        post({ id, answer: {}, output }, [output]);
    } else if (call.call === 'volume' || (call.call === 'testedGammas' && call.part === 'values')) {
        const { answer, output } = joined(call, known);
        post({ id, answer, output }, [output]);
    } else {
        const whole = call.call === 'selfTest' ? await withInstallation(call) : call;
        const found = known.call<{ bytes?: number | null }>(whole);
        const output = typeof found.bytes === 'number' ? known.output(found.bytes) : undefined;
        post({ id, answer: found, output }, output ? [output] : []);
    }
}

function failureOf(error: unknown): EngineFailure {
    if (error instanceof EngineFailure) {
        return error;
    }
    return EngineFailure.of(error instanceof Error ? error.message : String(error));
}

const waiting: Request[] = [];

async function work(): Promise<void> {
    const known = await engine;
    while (waiting.length > 0) {
        running = waiting.shift()!;
        try {
            await answer(running, known);
        } catch (error) {
            post({ id: running.id, failure: failureOf(error).told });
        }
    }
    running = null;
}

onmessage = ({ data }: MessageEvent<Request | Found>): void => {
    if ('found' in data) {
        elsewhere.get(data.found)?.(data.output);
        elsewhere.delete(data.found);
        return;
    }
    waiting.push(data);
    if (waiting.length === 1 && !running) {
        work().catch((error: unknown) => {
            const { id } = data;
            post({ id, failure: failureOf(error).told });
        });
    }
};
