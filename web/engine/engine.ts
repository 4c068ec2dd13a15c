/** The compiled engine: calls with an object in and one out, and the binary part of an answer. */

import createEngine from 'zarngi-engine';
import type { Host } from './host';
import type { EngineError } from './messages';

/** A failure with the sentence for the person. */
export class EngineFailure extends Error {
    constructor(
        message: string,
        readonly kind: EngineError['kind'],
    ) {
        super(message);
    }
}

export class Engine {
    private constructor(private readonly module: EngineModule) {}

    static async start(host: Host, wasmBinary: Uint8Array): Promise<Engine> {
        // What the engine prints is for nobody.
        const quiet = (): void => {};
        return new Engine(await createEngine({ host, wasmBinary, print: quiet, printErr: quiet }));
    }

    /** Throws an EngineFailure. */
    call<Answer>(request: object): Answer {
        const text = this.module.ccall('zarngi_call', 'string', ['string'], [JSON.stringify(request)]);
        const reply = JSON.parse(text as string) as { answer: Answer } | EngineError;
        if ('error' in reply) {
            throw new EngineFailure(reply.error, reply.kind);
        }
        return reply.answer;
    }

    /** A copy of the binary part of an answer, which the engine overwrites at the next call. */
    output(bytes: number): ArrayBuffer {
        const address = this.module.ccall('zarngi_output', 'number', [], []) as number;
        return this.module.HEAPU8.slice(address, address + bytes).buffer as ArrayBuffer;
    }
}
