// How fast the page that compares is, in one run with the native search: from choosing the head-neck
// pair to the first picture and to complete results, the search on one thread beside that of the
// native paths that any processor has, and the most memory that the browser's process took.
//   node comparePage.mjs MODULES CHROMIUM PAGE.html BENCH-PATHS DATA [ROUNDS]
// MODULES is build/release/web/front-end, BENCH-PATHS build/release/bench/zarngi_bench_paths. A DATA that
// holds the pair of large_pair.py is compared without the search beside it, by which no time is told.
import { execFileSync } from 'node:child_process';
import { existsSync, readdirSync, readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { join, resolve } from 'node:path';
import { pathToFileURL } from 'node:url';

const [modules, executablePath, path, benchPaths, data, rounds = '5'] = process.argv.slice(2);
const { chromium } = createRequire(join(resolve(modules), 'package.json'))('playwright-core');
const largePair = ['large_reference.nrrd', 'large_evaluation.nrrd'].map((name) => join(data, name));
const isLarge = existsSync(largePair[0]);
const pair = isLarge ? largePair : ['head_neck_day1.nrrd', 'head_neck_day2.nrrd'].map((name) => join(data, name));
const criteria = isLarge ? {} : { '3%/3mm': '3', '1%/1mm': '10' };

/** Seconds of the search on one thread: the faster one of the two paths. */
function nativeSeconds() {
    const table = execFileSync(benchPaths, ['--threads', '1', '--repetitions', '2']).toString();
    const least = (criterion) => Math.min(...table.split('\n').flatMap((line) => {
        const [name, label, vectors, seconds] = line.split('|').map((cell) => cell.trim());
        const isMeant = name === 'head-neck' && label === criterion && /portable|SSE2/.test(vectors);
        return isMeant ? [Number(seconds)] : [];
    }));
    return { '3%/3mm': least('3 % / 3 mm, max 3'), '1%/1mm': least('1 % / 1 mm, max 10') };
}

/** Bytes, of the browser's largest process. */
function peakMemory() {
    const peaks = readdirSync('/proc').filter((name) => /^\d+$/.test(name)).map((pid) => {
        try {
            const isRenderer = readFileSync(`/proc/${pid}/cmdline`, 'utf8').includes('--type=renderer');
            const peak = readFileSync(`/proc/${pid}/status`, 'utf8').match(/VmHWM:\s+(\d+)/);
            return isRenderer && peak ? 1024 * Number(peak[1]) : 0;
        } catch {
            return 0;
        }
    });
    return Math.max(...peaks);
}

async function recordOf(page) {
    const [download] = await Promise.all([page.waitForEvent('download'), page.locator('#save-json').click()]);
    return JSON.parse(readFileSync(await download.path(), 'utf8'));
}

async function isComplete(page) {
    await page.waitForFunction(() => document.documentElement.dataset.state === 'complete');
}

/** Milliseconds from the choice of the files until the page is in a state. */
async function round() {
    const browser = await chromium.launch({ executablePath, args: ['--no-sandbox', '--disable-gpu'] });
    const page = await browser.newPage({ viewport: { width: 1500, height: 1000 } });
    page.setDefaultTimeout(600_000);
    await page.goto(pathToFileURL(resolve(path)).href);
    await page.locator('html[data-state]').waitFor();
    await page.waitForTimeout(500); // as a person who looks for the files
    await page.evaluate(() => {
        const times = {};
        window.timesOfStates = times;
        const note = () => { times[document.documentElement.dataset.state] ??= performance.now(); };
        new MutationObserver(note).observe(document.documentElement, { attributeFilter: ['data-state'] });
    });
    const start = await page.evaluate(() => performance.now());
    await page.locator('#any-files').setInputFiles(pair);
    await isComplete(page);
    const times = await page.evaluate(() => window.timesOfStates);
    await page.locator('#search-details').evaluate((details) => (details.open = true));
    const seconds = {};
    for (const [criterion, maxGamma] of Object.entries(criteria)) {
        for (let i = 0; i < 3; ++i) { // the first ones are compiled meanwhile
            await page.locator('#max-gamma').fill(maxGamma);
            await page.locator('#criteria').fill(i % 2 ? `${criterion}\n5%/5mm` : criterion);
            await page.waitForTimeout(800);
            await isComplete(page);
            const found = (await recordOf(page)).criteria.find((c) => c.label === criterion);
            seconds[criterion] = Math.min(seconds[criterion] ?? Infinity, found?.seconds ?? Infinity);
        }
    }
    const memory = peakMemory();
    await browser.close();
    return { ready: times.ready - start, complete: times.complete - start, seconds, memory };
}

const found = [];
const native = isLarge ? [] : [nativeSeconds()];
for (let i = 0; i < Number(rounds); ++i) {
    found.push(await round());
    if (!isLarge) {
        native.push(nativeSeconds());
    }
}
const least = (values) => Math.min(...values);
const median = (values) => values.sort((a, b) => a - b)[values.length >> 1];
console.log(`first picture ${median(found.map((r) => r.ready)).toFixed(0)} ms, ` +
    `complete ${median(found.map((r) => r.complete)).toFixed(0)} ms (medians of ${rounds})`);
for (const criterion of Object.keys(criteria)) {
    const page = least(found.map((r) => r.seconds[criterion]));
    const beside = least(native.map((times) => times[criterion]));
    console.log(`${criterion}: search ${(1000 * page).toFixed(0)} ms, native ${(1000 * beside).toFixed(0)} ms: ` +
        `${(page / beside).toFixed(2)} times`);
}
console.log(`peak memory of the page's process ${(Math.max(...found.map((r) => r.memory)) / 1e6).toFixed(0)} MB`);
