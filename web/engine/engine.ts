/** The compiled engine: calls with an object in and one out, and the binary part of an answer. */

import createEngine from 'zarngi-engine';
import type { Host } from './host';
import type { EngineError, FailureKind } from './messages';

/** A failure; its message is the sentence in plain words. */
export class EngineFailure extends Error {
    constructor(readonly told: EngineError) {
        super(told.error);
    }

    /** What has no place in a request or among the files. */
    static of(sentence: string, kind: FailureKind = 'internal'): EngineFailure {
        return new EngineFailure({ error: sentence, kind, parts: [{ text: sentence }], file: '' });
    }

    static ofFile(file: string, reason: string, kind: FailureKind): EngineFailure {
        const rest = `: ${reason}`;
        return new EngineFailure({ error: file + rest, kind, parts: [{ file }, { text: rest }], file });
    }

    get kind(): FailureKind {
        return this.told.kind;
    }
}

export class Engine {
    private constructor(
        private readonly module: EngineModule,
        private readonly host: Host,
    ) {}

    static async start(host: Host, wasmBinary: Uint8Array): Promise<Engine> {
        // What the engine prints is for nobody.
        const quiet = (): void => {};
        return new Engine(await createEngine({ host, wasmBinary, print: quiet, printErr: quiet }), host);
    }

    /** Throws an EngineFailure. @param handed what comes with the call: it may be gone afterwards */
    call<Answer>(request: object, handed: Uint8Array[] = []): Answer {
        this.host.handed = handed;
        const text = this.module.ccall('zarngi_call', 'string', ['string'], [JSON.stringify(request)]);
        const reply = JSON.parse(text as string) as { answer: Answer } | EngineError;
        if ('error' in reply) {
            throw new EngineFailure(reply);
        }
        return reply.answer;
    }

    /** A copy of the binary part of an answer, which the engine overwrites at the next call. */
    output(bytes: number): ArrayBuffer {
        return this.seen(bytes).slice().buffer as ArrayBuffer;
    }

    /** The same where it stands, until the next call. */
    seen(bytes: number): Uint8Array {
        const address = this.module.ccall('zarngi_output', 'number', [], []) as number;
        return this.module.HEAPU8.subarray(address, address + bytes);
    }
}
