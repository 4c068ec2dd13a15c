// How every entry is built: a folder with a page in it becomes one HTML file that needs no other.
import { readFileSync } from 'node:fs';
import { dirname, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';
import { viteSingleFile } from 'vite-plugin-singlefile';

const web = fileURLToPath(new URL('.', import.meta.url));
const include = /^<!--include (\S+)-->\n/gm;

/** Puts files in the place of the lines that name them, from the folder of the file with the line. */
function withIncluded(html, folder) {
    return html.replace(include, (_, name) => {
        const path = resolve(folder, name);
        return withIncluded(readFileSync(path, 'utf8'), dirname(path));
    });
}

function checkSelfContained(html, page) {
    const outside = html.match(/<(?:script|link|img)\b[^>]*\b(?:src|href)="(?!data:)[^"]*"/);
    if (outside) {
        throw new Error(`${page} refers to another file: ${outside[0]}`);
    }
}

function pagePlugin({ folder, made, page, check }) {
    return {
        name: 'one-page',
        transformIndexHtml: { order: 'pre', handler: (html) => withIncluded(html, folder) },
        closeBundle() {
            const html = readFileSync(resolve(made, page), 'utf8');
            checkSelfContained(html, page);
            check(html);
        },
    };
}

/** Vite's settings for the entry in the folder `entry`; `check` throws at a page it does not accept. */
export function onePage(entry, page, check = () => {}) {
    const folder = resolve(web, entry);
    const made = resolve(web, 'dist', entry);
    return {
        root: folder,
        plugins: [
            viteSingleFile({ removeViteModuleLoader: true }),
            pagePlugin({ folder, made, page, check }),
        ],
        logLevel: 'warn',
        build: {
            target: 'es2022',
            outDir: made,
            emptyOutDir: true,
            reportCompressedSize: false,
            rollupOptions: { input: resolve(folder, page) },
        },
    };
}
