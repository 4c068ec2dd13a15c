/** The files that the page was given, read in whole when the engine asks for them. */

import { sha256 } from '@noble/hashes/sha2.js';
import { bytesToHex } from '@noble/hashes/utils.js';
import { digestOf } from './digest';
import type { FileContents, FileSource } from './host';

/** Bytes that stand in memory twice while they are read. */
const piece = 1 << 24;
/** Bytes of a file that is taken to the browser's own digest, which needs it as a whole and a copy. */
const mostAtOnce = 1 << 26;

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

    /** SHA-256 of a file, as digestOf() tells it. Throws an Error with the reason where it cannot be read. */
    async digest(path: string): Promise<{ bytes: number; sha256: string } | null> {
        const file = this.files.get(path);
        if (!file) {
            return null;
        }
        const bytes = file.size;
        if (bytes <= mostAtOnce) {
            return { bytes, sha256: await digestOf(bytesOf(file)) };
        }
        const digest = sha256.create();
        for (let start = 0; start < bytes; start += piece) {
            digest.update(bytesOf(file, start, start + piece));
        }
        return { bytes, sha256: bytesToHex(digest.digest()) };
    }
}

function readInto(buffer: Uint8Array, file: File): void {
    for (let start = 0; start < buffer.length; start += piece) {
        buffer.set(bytesOf(file, start, start + piece), start);
    }
}

function bytesOf(file: File, start = 0, end = file.size): Uint8Array<ArrayBuffer> {
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
