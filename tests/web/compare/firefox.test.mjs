// The main road of the page that compares, in Firefox.
import assert from 'node:assert/strict';
import { mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { pathToFileURL } from 'node:url';
import { after, before, test } from 'node:test';
import { makeInputs, pagePath, recordByProgram } from './comparing.mjs';

const { ZARNGI_FIREFOX: executablePath, ZARNGI_WEB_MODULES: modules } = process.env;
const folder = mkdtempSync(join(tmpdir(), 'zarngi-firefox-'));
let browser;

before(async () => {
    makeInputs(folder);
    const puppeteer = createRequire(join(modules, 'package.json'))('puppeteer-core');
    browser = await puppeteer.launch({ browser: 'firefox', executablePath, headless: true, protocol: 'webDriverBiDi' });
});
after(async () => {
    await browser?.close();
    rmSync(folder, { recursive: true, force: true });
});

test('a pair with structures is compared, another criterion asked, rates fill in', async () => {
    const page = await browser.newPage();
    const complaints = [];
    page.on('console', (message) => complaints.push(message.text()));
    page.on('pageerror', (error) => complaints.push(String(error)));
    await page.goto(pathToFileURL(pagePath).href);
    const complete = (label) => page.waitForFunction(
        (wanted) =>
            document.documentElement.dataset.state === 'complete' &&
            document.getElementById('criteria-rows')?.innerText.includes(wanted),
        {}, label,
    );
    const files = ['reference.dcm', 'evaluation.dcm', 'structures.dcm'];
    const input = await page.$('#any-files');
    await input.uploadFile(...files.map((name) => join(folder, name)));
    await complete('3%/2mm');
    const rates = () => page.$$eval('[data-value=passRate]', (cells) => cells.map((c) => Number(c.innerText)));
    const expected = async (...criteria) => {
        const options = criteria.flatMap((c) => ['-c', c]);
        const record = await recordByProgram(folder, files.slice(0, 2), ...options, '--structures', files[2]);
        return record.criteria.map((c) => Number(c.passRate.toFixed(2)));
    };
    assert.deepEqual((await rates()).slice(0, 2), await expected('3%/2mm', '2%/2mm'));
    await page.$eval('#criteria', (field) => {
        field.value = '1%/1mm';
        field.dispatchEvent(new Event('input', { bubbles: true }));
    });
    await complete('1%/1mm');
    assert.deepEqual((await rates()).slice(0, 1), await expected('1%/1mm'));
    await page.waitForFunction(() => !document.querySelector('.sweep .pending'));
    assert.deepEqual(complaints, []);
});
