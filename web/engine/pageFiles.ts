/** The files that the page was given, read in whole when the engine asks for them. */

import { digestOf } from './digest';
import type { FileContents, FileSource } from './host';

/** Bytes that stand in memory twice while they are read. */
const piece = 1 << 24;

export class PageFiles implements FileSource {
    private readonly files = new Map<string, File>();

    add(path: string, file: File): void {
        this.files.set(path, file);
    }

    remove(path: string): void {
        this.files.delete(path);
    }

    contents(path: string): FileContents | null {
        const file = this.files.get(path);
        return file ? { size: file.size, read: (buffer) => readInto(buffer, file) } : null;
    }

    has(path: string): boolean {
        return this.files.has(path);
    }

    /** SHA-256 of a file; null where there is none. Throws an Error with the reason where it cannot be read. */
    async digest(path: string): Promise<{ bytes: number; sha256: string } | null> {
        const file = this.files.get(path);
        if (!file) {
            return null;
        }
        const bytes = bytesOf(file, 0, file.size);
        const sha256 = await digestOf(bytes);
        const digest = { bytes: bytes.length, sha256 };
        release(bytes.buffer);
        return digest;
    }
}

function readInto(buffer: Uint8Array, file: File): void {
    for (let start = 0; start < buffer.length; start += piece) {
        const bytes = bytesOf(file, start, start + piece);
        buffer.set(bytes, start);
        release(bytes.buffer);
    }
}

/**
 * Gives back at once what the next collection of garbage would, which may come after the search: a
 * buffer that is sent to where nobody listens goes with its message.
 */
export function release(buffer: ArrayBuffer): void {
    const { port1, port2 } = new MessageChannel();
    port2.close();
    port1.postMessage(null, [buffer]);
    port1.close();
}

function bytesOf(file: File, start: number, end: number): Uint8Array<ArrayBuffer> {
    try {
        return new Uint8Array(new FileReaderSync().readAsArrayBuffer(file.slice(start, end)));
    } catch (error) {
        throw new Error(reasonOf(error));
    }
}

/** A browser refuses files that were changed or moved after they were chosen. */
function reasonOf(error: unknown): string {
    const name = error instanceof DOMException ? error.name : '';
    if (name === 'NotReadableError' || name === 'NotFoundError') {
        return 'it has changed or moved since it was chosen';
    }
    return error instanceof RangeError ? 'it does not fit in memory' : String(error);
}
