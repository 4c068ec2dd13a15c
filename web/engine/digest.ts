/** SHA-256 of a file, in lower-case hexadecimal. */

import { sha256 } from '@noble/hashes/sha2.js';
import { bytesToHex } from '@noble/hashes/utils.js';

export async function digestOf(bytes: Uint8Array<ArrayBuffer>): Promise<string> {
    // Browsers hide it from some pages that are opened from disk.
    const { subtle } = globalThis.crypto ?? {};
    return bytesToHex(subtle ? new Uint8Array(await subtle.digest('SHA-256', bytes)) : sha256(bytes));
}
