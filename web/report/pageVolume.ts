import type { StoredVolume } from '../views/comparison';
import type { VolumeRecord } from './pageRecord';

/** Unpacks the volume of `count` voxels that is stored in the page under this name. */
export async function readVolume(record: VolumeRecord, count: number): Promise<StoredVolume> {
    if (record.type !== 'int16' || record.encoding !== 'shuffle+zlib+base64') {
        throw new Error(`The volume "${record.name}" is encoded in a way this page cannot read.`);
    }
    const bytes = await readElement(`volume-${record.name}`, `The volume "${record.name}"`);
    if (bytes.length !== 2 * count) {
        throw new Error(`The volume "${record.name}" does not fit its grid.`);
    }
    return { decimals: record.decimals, values: unshuffle(bytes) };
}

/** The 32-bit whole numbers in an element. */
export async function readIntegers(id: string): Promise<Int32Array> {
    const bytes = await readElement(id, `The element "${id}"`);
    const count = bytes.length / 4;
    const values = new Int32Array(count);
    for (let i = 0; i < count; ++i) {
        values[i] =
            bytes[i] | (bytes[count + i] << 8) | (bytes[2 * count + i] << 16) | (bytes[3 * count + i] << 24);
    }
    return values;
}

async function readElement(id: string, name: string): Promise<Uint8Array> {
    const element = document.getElementById(id);
    if (!element) {
        throw new Error(`${name} is missing in this page.`);
    }
    return inflate(fromBase64(element.textContent ?? ''));
}

function fromBase64(text: string): Uint8Array<ArrayBuffer> {
    const native = (Uint8Array as unknown as { fromBase64?: (t: string) => Uint8Array<ArrayBuffer> })
        .fromBase64;
    if (native) {
        return native(text);
    }
    const binary = atob(text);
    const bytes = new Uint8Array(binary.length);
    for (let i = 0; i < binary.length; ++i) {
        bytes[i] = binary.charCodeAt(i);
    }
    return bytes;
}

async function inflate(bytes: Uint8Array<ArrayBuffer>): Promise<Uint8Array> {
    const stream = new Blob([bytes]).stream().pipeThrough(new DecompressionStream('deflate'));
    return new Uint8Array(await new Response(stream).arrayBuffer());
}

function unshuffle(bytes: Uint8Array): Int16Array {
    const count = bytes.length / 2;
    const values = new Int16Array(count);
    for (let i = 0; i < count; ++i) {
        values[i] = bytes[i] | (bytes[count + i] << 8);
    }
    return values;
}
