/** Whether this browser can run the engine. */

/** Modules with a single instruction each: a vector of bytes; try and catch. */
const simd = [
    0, 97, 115, 109, 1, 0, 0, 0, 1, 5, 1, 96, 0, 1, 123, 3, 2, 1, 0, 10, 10, 1, 8, 0, 65, 0, 253, 15, 253, 98, 11,
];
const exceptions = [
    0, 97, 115, 109, 1, 0, 0, 0, 1, 4, 1, 96, 0, 0, 3, 2, 1, 0, 10, 8, 1, 6, 0, 6, 64, 25, 11, 11,
];

/** What is missing, as a sentence; null where nothing is. */
export function missingFeature(): string | null {
    const isThere = typeof WebAssembly === 'object' && [simd, exceptions].every(accepts);
    return isThere
        ? null
        : 'This browser cannot run the comparison: it lacks WebAssembly with vectors and exceptions, ' +
              'which Chrome and Edge 95, Firefox 100 and Safari 16.4 or later have.';
}

function accepts(module: number[]): boolean {
    return WebAssembly.validate(new Uint8Array(module));
}
