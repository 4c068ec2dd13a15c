/** The files that the page was given, read in whole when the engine asks for them. */

import type { FileContents, FileSource } from './host';

const nothing = new Uint8Array(0);
export const missing = -1;
const unreadable = -2;

export class PageFiles implements FileSource {
    private readonly files = new Map<string, File>();

    add(path: string, file: File): void {
        this.files.set(path, file);
    }

    remove(path: string): void {
        this.files.delete(path);
    }

    file(path: string): File | undefined {
        return this.files.get(path);
    }

    contents(path: string): FileContents {
        const file = this.files.get(path);
        if (!file) {
            return { status: missing, bytes: nothing };
        }
        try {
            return { status: 0, bytes: new Uint8Array(new FileReaderSync().readAsArrayBuffer(file)) };
        } catch (error) {
            return { status: unreadable, bytes: new TextEncoder().encode(reasonOf(error)) };
        }
    }

    has(path: string): boolean {
        return this.files.has(path);
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
