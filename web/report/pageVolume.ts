import type { StoredVolume } from '../views/comparison';
import type { VolumeRecord } from './pageRecord';

/** Unpacks the volume of `count` voxels that is stored in the page under this name. */
export async function readVolume(record: VolumeRecord, count: number): Promise<StoredVolume> {
    if (record.type !== 'int16' || record.encoding !== 'shuffle+zlib+base64') {
        throw new Error(`The volume "${record.name}" is encoded in a way this page cannot read.`);
    }
    const element = document.getElementById(`volume-${record.name}`);
    if (!element) {
        throw new Error(`The volume "${record.name}" is missing in this page.`);
    }
    const bytes = await inflate(fromBase64(element.textContent ?? ''));
    if (bytes.length !== 2 * count) {
        throw new Error(`The volume "${record.name}" does not fit its grid.`);
    }
    return { decimals: record.decimals, values: unshuffle(bytes) };
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
