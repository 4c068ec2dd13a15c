/** The thread that reads and computes: keeps the files and the engine, answers one request after another. */

import wasmBase64 from 'zarngi-engine-binary';
import { digestOf } from './digest';
import { Engine, EngineFailure } from './engine';
import { makeHost } from './host';
import type { ComparisonAnswer, FileFacts } from './messages';
import { PageFiles } from './pageFiles';
import type { Call, Reply, Request } from './protocol';
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
    return known.call({ ...call, digests, readSeconds });
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

onmessage = (event: MessageEvent<Request>): void => {
    waiting.push(event.data);
    if (waiting.length === 1 && !running) {
        work().catch((error: unknown) => {
            const { id } = event.data;
            post({ id, failure: failureOf(error).told });
        });
    }
};
