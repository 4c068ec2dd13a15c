// How long a report page takes to open: from navigation until all three slices, the profiles and
// the tables are drawn. The median of some opens in a fresh window each.
//   node openPage.mjs MODULES CHROMIUM PAGE.html [OPENS]
// MODULES is the folder with the front end's node_modules (build/release/web/front-end).
import { createRequire } from 'node:module';
import { statSync } from 'node:fs';
import { join, resolve } from 'node:path';
import { pathToFileURL } from 'node:url';

const [modules, executablePath, path, opens = '7'] = process.argv.slice(2);
const { chromium } = createRequire(join(resolve(modules), 'package.json'))('playwright-core');
const browser = await chromium.launch({ executablePath, args: ['--no-sandbox', '--disable-gpu'] });
const times = [];
for (let i = 0; i < Number(opens); ++i) {
    const page = await browser.newPage({ viewport: { width: 1500, height: 1000 } });
    await page.goto(pathToFileURL(resolve(path)).href, { waitUntil: 'commit' });
    await page.waitForFunction(
        () => ['ready', 'complete'].includes(document.documentElement?.dataset.state),
        null,
        { polling: 'raf' },
    );
    times.push(await page.evaluate(() => performance.now()));
    await page.close();
}
await browser.close();
times.sort((a, b) => a - b);
const ms = (time) => `${Math.round(time)} ms`;
console.log(
    `${path}: ${(statSync(path).size / 1e6).toFixed(1)} MB, opens in ${ms(times[times.length >> 1])} ` +
        `(${ms(times[0])} to ${ms(times[times.length - 1])}, ${opens} opens)`,
);
