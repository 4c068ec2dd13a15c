import { existsSync, readFileSync } from 'node:fs';
import { resolve } from 'node:path';
import { onePage } from '../onePage.mjs';

/** The folder with the compiled engine, as CMake says. */
const engine = process.env.ZARNGI_ENGINE ?? '';
const built = resolve(import.meta.dirname, '..', 'dist');
const largest = 5 << 20;

if (!existsSync(resolve(engine, 'engine.wasm'))) {
    throw new Error(`ZARNGI_ENGINE: "${engine}" is no folder with a compiled engine`);
}

// A page within the page: packed, so that nothing takes its elements for those of this one.
const template = 'zarngi-report-template';

/** Modules that are made of other files: a text each. */
const texts = {
    'zarngi-engine-binary': () => readFileSync(resolve(engine, 'engine.wasm'), 'base64'),
    'zarngi-build': () => process.env.ZARNGI_BUILD ?? '',
};

function madeModules() {
    return {
        name: 'made-modules',
        resolveId(id) {
            return id === 'zarngi-engine' ? resolve(engine, 'engine.mjs') : id in texts || id === template ? `\0${id}` : null;
        },
        load(id) {
            if (id === `\0${template}`) {
                const page = readFileSync(resolve(built, 'report/template.html'), 'base64');
                return `export default new TextDecoder().decode(Uint8Array.from(atob('${page}'), (c) => c.charCodeAt(0)));`;
            }
            const text = id.startsWith('\0') ? texts[id.slice(1)] : undefined;
            return text && `export default ${JSON.stringify(text())};`;
        },
    };
}

function isSmallEnough(html) {
    if (html.length > largest) {
        throw new Error(`zarngi.html has ${html.length} bytes, more than ${largest}`);
    }
}

const settings = onePage('compare', 'zarngi.html', isSmallEnough);
settings.plugins.unshift(madeModules());
settings.worker = { format: 'iife', plugins: () => [madeModules()] };
export default settings;
