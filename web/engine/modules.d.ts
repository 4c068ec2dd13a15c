/** What emscripten makes of the engine, and what comes without types of its own. */

interface EngineModule {
    ccall(name: string, result: 'string' | 'number', types: string[], values: unknown[]): unknown;
    HEAPU8: Uint8Array;
}

declare module 'zarngi-engine' {
    export default function createEngine(options: object): Promise<EngineModule>;
}

declare module 'zarngi-engine-binary' {
    /** base64. */
    const binary: string;
    export default binary;
}

declare module 'pako/lib/zlib/inflate.js' {
    import type ZStream from 'pako/lib/zlib/zstream.js';
    export function inflateInit2(stream: ZStream, windowBits: number): number;
    export function inflate(stream: ZStream, flush: number): number;
    export function inflateEnd(stream: ZStream): number;
}

declare module 'pako/lib/zlib/zstream.js' {
    export default class ZStream {
        input: Uint8Array;
        next_in: number;
        avail_in: number;
        output: Uint8Array;
        next_out: number;
        avail_out: number;
    }
}

declare module 'zarngi-report-template' {
    const template: string;
    export default template;
}

declare module 'zarngi-build' {
    /** Version and commit; empty where they are not known. */
    const build: string;
    export default build;
}

/** Of workers alone. */
declare class FileReaderSync {
    readAsArrayBuffer(blob: Blob): ArrayBuffer;
}
