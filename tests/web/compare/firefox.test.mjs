// The main road of the page that compares, in Firefox.
import assert from 'node:assert/strict';
import { createRequire } from 'node:module';
import { join } from 'node:path';
import { pathToFileURL } from 'node:url';
import { before, test } from 'node:test';
import { patience, waited, workplace } from '../browser.mjs';
import { writeLargeDose } from '../largeDose.mjs';
import { makeInputs, pagePath, recordByProgram } from './comparing.mjs';

const { ZARNGI_FIREFOX: executablePath, ZARNGI_WEB_MODULES: modules } = process.env;
const puppeteer = createRequire(join(modules, 'package.json'))('puppeteer-core');
const place = await workplace('firefox', () => puppeteer.launch({
    browser: 'firefox', executablePath, headless: true, protocol: 'webDriverBiDi',
    timeout: patience, protocolTimeout: patience,
}));
const { folder } = place;

before(() => makeInputs(folder));

/** The page, who waits for a comparison, and what complains. */
async function openPage() {
    const page = await place.browser.newPage();
    page.setDefaultTimeout(patience);
    const complaints = [];
    page.on('console', (message) => complaints.push(message.text()));
    page.on('pageerror', (error) => complaints.push(String(error)));
    await page.evaluateOnNewDocument(() => {
        Object.defineProperty(navigator, 'hardwareConcurrency', { get: () => 2 });
        globalThis.workers = 0;
        globalThis.Worker = class extends globalThis.Worker {
            constructor(...given) {
                super(...given);
                ++globalThis.workers;
            }
        };
    });
    await page.goto(pathToFileURL(pagePath).href);
    const complete = (label) => waited(page, `a comparison by ${label}`, page.waitForFunction(
        (wanted) =>
            document.documentElement.dataset.state === 'complete' &&
            document.getElementById('criteria-rows')?.innerText.includes(wanted),
        {}, label,
    ));
    const rates = () => page.$$eval('[data-value=passRate]', (cells) => cells.map((c) => Number(c.innerText)));
    return { page, complaints, complete, rates };
}

const ratesOf = (record) => record.criteria.map((c) => Number(c.passRate.toFixed(2)));

test('the search of large doses is shared out', async () => {
    const { page, complaints, complete, rates } = await openPage();
    const files = ['large-reference.mha', 'large-evaluation.mha'];
    files.forEach((name, i) => writeLargeDose(join(folder, name), 0.8 * i));
    const input = await page.$('#any-files');
    await input.uploadFile(...files.map((name) => join(folder, name)));
    await complete('3%/2mm');
    assert.equal(await page.evaluate(() => globalThis.workers), 3);
    assert.deepEqual((await rates()).slice(0, 2), ratesOf(await recordByProgram(folder, files, '-c', '3%/2mm', '-c', '2%/2mm')));
    assert.deepEqual(complaints, []);
});

test('a pair with structures is compared, another criterion asked, rates fill in', async () => {
    const { page, complaints, complete, rates } = await openPage();
    const files = ['reference.dcm', 'evaluation.dcm', 'structures.dcm'];
    const input = await page.$('#any-files');
    await input.uploadFile(...files.map((name) => join(folder, name)));
    await complete('3%/2mm');
    const expected = async (...criteria) => {
        const options = criteria.flatMap((c) => ['-c', c]);
        return ratesOf(await recordByProgram(folder, files.slice(0, 2), ...options, '--structures', files[2]));
    };
    assert.deepEqual((await rates()).slice(0, 2), await expected('3%/2mm', '2%/2mm'));
    await page.$eval('#criteria', (field) => {
        field.value = '1%/1mm';
        field.dispatchEvent(new Event('input', { bubbles: true }));
    });
    await complete('1%/1mm');
    assert.deepEqual((await rates()).slice(0, 1), await expected('1%/1mm'));
    await waited(page, 'rates by criterion', page.waitForFunction(() => !document.querySelector('.sweep .pending')));
    assert.deepEqual(complaints, []);
});
