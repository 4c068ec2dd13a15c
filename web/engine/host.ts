/** The script's side of hostScript.h: what the engine is handed. */

import { sha256 } from '@noble/hashes/sha2.js';
import { bytesToHex } from '@noble/hashes/utils.js';
import { deflateRaw } from 'pako';
import * as zlib from 'pako/lib/zlib/inflate.js';
import ZStream from 'pako/lib/zlib/zstream.js';

const usualLevel = 6;
const windowBits = -15;
const finish = 4;
const streamEnd = 1;

/** Status of a stream: whole and ended, goes on when the buffer is full, damaged or cut short. */
const ended = 0;
const full = 1;
const damaged = 2;

export interface FileContents {
    size: number;
    /** Fills a buffer of that size; throws an Error with the reason where it cannot. */
    read(buffer: Uint8Array): void;
}

/** How the engine reaches the files of the page. */
export interface FileSource {
    /** Null where there is no such file. */
    contents(path: string): FileContents | null;
    has(path: string): boolean;
}

export type ProgressListener = (criterion: string, shell: number, shellLimit: number, share: number) => void;

export interface Host extends FileSource {
    inflate(packed: Uint8Array, buffer: Uint8Array): [number, number, number];
    deflate(plain: Uint8Array): Uint8Array;
    base64(bytes: Uint8Array, text: Uint8Array): void;
    /** The digits of a digest. */
    sha256(bytes: Uint8Array, text: Uint8Array): void;
    progress: ProgressListener;
    /** What comes with a call beside its text. */
    handed: Uint8Array[];
}

export function makeHost(files: FileSource, progress: ProgressListener): Host {
    return {
        contents: (path) => files.contents(path),
        has: (path) => files.has(path),
        inflate,
        deflate: (plain) => deflateRaw(plain, { level: usualLevel }),
        base64,
        sha256: (bytes, text) => void new TextEncoder().encodeInto(bytesToHex(sha256(bytes)), text.subarray(0, 64)),
        progress,
        handed: [],
    };
}

/** Unpacks a raw DEFLATE stream into the buffer: status, bytes taken, bytes made. */
function inflate(packed: Uint8Array, buffer: Uint8Array): [number, number, number] {
    const stream = new ZStream();
    stream.input = packed;
    stream.avail_in = packed.length;
    stream.next_in = 0;
    // An empty buffer could not tell a stream that has ended from one that goes on.
    stream.output = buffer.length > 0 ? buffer : new Uint8Array(1);
    stream.avail_out = stream.output.length;
    stream.next_out = 0;
    zlib.inflateInit2(stream, windowBits);
    const code = zlib.inflate(stream, finish);
    const made = stream.next_out;
    const taken = stream.next_in;
    const status =
        code === streamEnd && made <= buffer.length ? ended : goesOn(stream, made > buffer.length) ? full : damaged;
    zlib.inflateEnd(stream);
    return [status, taken, Math.min(made, buffer.length)];
}

/** Whether a stream that has filled its buffer has at least one byte more. */
function goesOn(stream: ZStream, hasMore: boolean): boolean {
    if (hasMore || stream.avail_out > 0) {
        return hasMore;
    }
    stream.output = new Uint8Array(1);
    stream.next_out = 0;
    stream.avail_out = 1;
    zlib.inflate(stream, finish);
    return stream.next_out === 1;
}

function base64(bytes: Uint8Array, text: Uint8Array): void {
    const block = 3 << 13; // arguments of a call, and whole groups of four digits
    let end = 0;
    for (let start = 0; start < bytes.length; start += block) {
        const digits = btoa(String.fromCharCode(...bytes.subarray(start, start + block)));
        for (let i = 0; i < digits.length; ++i) {
            text[end++] = digits.charCodeAt(i);
        }
    }
}
