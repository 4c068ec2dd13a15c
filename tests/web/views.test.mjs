// The views on a comparison that is not in the page: the interface through which they get their data
// is all they need, and an entry is nothing but one more folder beside them.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { cpSync, symlinkSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath, pathToFileURL } from 'node:url';
import { before, test } from 'node:test';
import { patience, settle, workplace } from './browser.mjs';

const modules = process.env.ZARNGI_WEB_MODULES;
const place = await workplace('views');
const { folder } = place;
const built = join(folder, 'dist', 'madeUp', 'page.html');

/** Runs a tool of the front end. */
function run(script, ...parameters) {
    execFileSync(process.execPath, [join('node_modules', script), ...parameters], { cwd: folder });
}

before(async () => {
    for (const name of ['views', 'onePage.mjs', 'package.json', 'tsconfig.json']) {
        cpSync(join(modules, name), join(folder, name), { recursive: true });
    }
    symlinkSync(join(modules, 'node_modules'), join(folder, 'node_modules'));
    cpSync(fileURLToPath(new URL('madeUp', import.meta.url)), join(folder, 'madeUp'), { recursive: true });
    run('typescript/bin/tsc', '--noEmit');
    run('vite/bin/vite.js', 'build', 'madeUp');
});

/** The page as soon as it shows the first criterion; the second one waits for the event "go-on". */
async function openReady(hash = '') {
    const page = await place.browser.newPage({ viewport: { width: 1500, height: 1000 } });
    page.setDefaultTimeout(patience);
    const complaints = [];
    page.on('console', (message) => complaints.push(message.text()));
    page.on('pageerror', (error) => complaints.push(String(error)));
    await page.goto(pathToFileURL(built).href + hash);
    await page.locator('html[data-state="ready"]').waitFor();
    await settle(page);
    return { page, complaints };
}

async function goOn(page, state) {
    await page.evaluate(() => dispatchEvent(new Event('go-on')));
    await page.locator(`html[data-state="${state}"]`).waitFor();
    await settle(page);
}

async function crosshairValues(page) {
    const names = ['voxel', 'x', 'y', 'z', 'reference', 'evaluation', 'difference', 'percent', 'gamma-0', 'gamma-1'];
    return Promise.all(names.map((name) => page.locator(`#cross-${name}`).innerText()));
}

test('the views show what the interface hands them, volumes as they come', async () => {
    const { page, complaints } = await openReady();
    assert.equal(await page.locator('html').getAttribute('data-asked'), 'reference, evaluation, gamma 0, gamma 1');
    assert.deepEqual(await crosshairValues(page), [
        '3 2 1', '16.0', '26.0', '34.0', '13.21', '13.26', '+0.05', '+0.32', '1.500', '…',
    ]);
    await goOn(page, 'complete');
    assert.equal(await page.locator('#cross-gamma-1').innerText(), '0.250');

    assert.match(await page.locator('#files').innerText(), /planned[^]*delivered/);
    const rates = await page.locator('[data-value="passRate"]').allInnerTexts();
    assert.deepEqual(rates, ['96.67', '100.00']);
    const clusters = await page.locator('#cluster-rows tr').allInnerTexts();
    assert.deepEqual(clusters.map((row) => row.split('\t')), [
        ['1', '2', '0.05', '4 × 3 × 4', '16.0', '26.0', '34.0', '1.50', '+0.3'],
        ['2', '1', '0.02', '2 × 3 × 4', '12.0', '32.0', '42.0', '32.77', '+0.3'],
    ]);
    assert.ok(!(await page.locator('#warnings').isVisible()), 'the maps hold as many voxels as the record');

    await page.locator('#cluster-rows button').nth(1).click();
    await settle(page);
    assert.deepEqual((await crosshairValues(page)).slice(-2), ['≥ 32.767', '0.250']);
    assert.deepEqual(complaints, []);
    await page.close();
});

test('a volume that cannot be had ends the page with the reason', async () => {
    const { page } = await openReady('#unable');
    await goOn(page, 'failed');
    assert.equal(await page.locator('[role="alert"]').innerText(), 'The second gamma map cannot be made up.');
    await page.close();
});
