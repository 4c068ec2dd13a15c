// The engine of the page that compares, in Node.js: the sources of web/engine, bundled.
import { createRequire } from 'node:module';
import { mkdtempSync, readFileSync, rmSync, statSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { pathToFileURL } from 'node:url';

const { ZARNGI_ENGINE: engine, ZARNGI_WEB_MODULES: modules } = process.env;

/** Files of the disk. */
const disk = {
    contents(path) {
        return this.has(path) ? { size: statSync(path).size, read: (buffer) => buffer.set(readFileSync(path)) } : null;
    },
    has(path) {
        return statSync(path, { throwIfNoEntry: false })?.isFile() ?? false;
    },
};

/** What a page takes of the engine, as modules. */
export async function bundled() {
    const require = createRequire(join(modules, 'package.json'));
    const esbuild = require('esbuild');
    const folder = mkdtempSync(join(tmpdir(), 'zarngi-engine-'));
    const outfile = join(folder, 'engine.mjs');
    await esbuild.build({
        stdin: {
            contents: "export { Engine } from './engine'; export { makeHost } from './host'; export * from './helpers'; export * from './request'; export * from '../compare/roles';",
            resolveDir: join(modules, 'engine'),
            loader: 'ts',
        },
        bundle: true,
        format: 'esm',
        outfile,
        alias: { 'zarngi-engine': join(engine, 'engine.mjs') },
        logLevel: 'error',
    });
    globalThis.self ??= { location: { href: '' } }; // it is compiled for workers
    const module = await import(pathToFileURL(outfile));
    rmSync(folder, { recursive: true });
    return module;
}

/**
 * @param progress told of searches
 * @param files with contents(path) and has(path), as the page's
 */
export async function startEngine(progress = () => {}, files = disk) {
    const { Engine, makeHost } = await bundled();
    return Engine.start(makeHost(files, progress), readFileSync(join(engine, 'engine.wasm')));
}
