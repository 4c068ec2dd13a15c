import { readFileSync } from 'node:fs';
import { resolve } from 'node:path';
import { defineConfig } from 'vite';
import { viteSingleFile } from 'vite-plugin-singlefile';

const marker = '<!--ZARNGI-DATA-->';

/** The program that fills the template in relies on exactly one marker and on no outside file. */
function checkTemplate() {
    let folder;
    return {
        name: 'check-template',
        configResolved(config) {
            folder = resolve(config.root, config.build.outDir);
        },
        closeBundle() {
            const html = readFileSync(resolve(folder, 'template.html'), 'utf8');
            const count = html.split(marker).length - 1;
            if (count !== 1) {
                throw new Error(`template.html holds the data marker ${count} times, not once`);
            }
            const outside = html.match(/<(?:script|link|img)\b[^>]*\b(?:src|href)="(?!data:)[^"]*"/);
            if (outside) {
                throw new Error(`template.html refers to another file: ${outside[0]}`);
            }
        },
    };
}

export default defineConfig({
    plugins: [viteSingleFile({ removeViteModuleLoader: true }), checkTemplate()],
    logLevel: 'warn',
    build: {
        target: 'es2022',
        outDir: 'dist',
        emptyOutDir: true,
        reportCompressedSize: false,
        rollupOptions: { input: 'template.html' },
    },
});
