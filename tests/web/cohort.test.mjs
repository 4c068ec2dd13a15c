// The page of a cohort in a real browser, against what SQL says of its results file.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { readFileSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { before, describe, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { barriers, numberOf, openFile, settle, workplace } from './browser.mjs';

const place = await workplace('cohort');
const { folder } = place;
const script = join(dirname(fileURLToPath(import.meta.url)), 'cohortPage.py');
const count = 10_000;
let wanted;
let page;
let complaints;

before(async () => {
    const options = { maxBuffer: 1 << 26, encoding: 'utf8' };
    wanted = JSON.parse(execFileSync('/usr/bin/python3', [script, folder, String(count)], options));
    ({ page, complaints } = await openFile(place.browser, join(folder, 'cohort.html')));
});

const text = (selector) => page.locator(selector).innerText();
const near = (shown, value, decimals = 2) =>
    assert.ok(Math.abs(numberOf(shown) - value) <= 0.51 * 10 ** -decimals, `${shown} is not ${value}`);

/** Ids of the rows in view, from the top of the table. */
const rows = () =>
    page.locator('#pairs-body .row').evaluateAll((elements) => elements.map((e) => e.dataset.pair));

async function choose(select, value) {
    await page.locator(select).selectOption({ label: value });
    await settle(page);
}

async function showAll() {
    await page.locator('#reset').click();
    await page.locator('#criterion').selectOption('3%/2mm');
    await settle(page);
}

describe('the page of a cohort', () => {
    test('shows the counts and figures of the database', async () => {
        assert.equal(numberOf((await text('#shown')).split(' of ')[0]), count);
        const grouped = String(count).replace(/\B(?=(\d{3})+$)/g, '\\s');
        assert.match(await text('#subtitle'), new RegExp(`${grouped} pairs, ${wanted.failures} of them not computed`));
        near(await text('#mean-rate'), wanted.means['3%/2mm'][0]);
        const shares = await Promise.all(
            ['pass', 'investigate', 'fail', 'none'].map((verdict) => text(`[data-verdict="${verdict}"]`)),
        );
        assert.deepEqual(shares.map(numberOf), [...wanted.shares, wanted.failures]);
        for (const [criterion, [mean, lowest]] of Object.entries(wanted.means)) {
            const cell = page.locator(`.map button[title="${criterion}"]`);
            near(await cell.locator('b').innerText(), mean);
            near(await cell.locator('span').innerText(), lowest);
        }
    });

    test('shows rates without noise where pairs have them', async () => {
        const head = page.locator('#pairs-head .without_noise button');
        assert.equal(await head.innerText(), 'Without noise / %');
        await head.click();
        await settle(page);
        const cells = page.locator('#pairs-body .row .without_noise');
        const told = await cells.allInnerTexts();
        assert.equal(told[0], '99.5');
        assert.equal(await cells.first().getAttribute('title'), '98.5 to 99.8 %');
        assert.ok(told.length > 5 && new Set(told.slice(1)).size === 1);
        await page.locator('#pairs-head .pass_rate button').click();
        await settle(page);
    });

    test('shows each group and each structure', async () => {
        const groups = page.locator('#group-rows tr');
        assert.equal(await groups.count(), wanted.groups.length);
        for (const [i, [name, pairs, mean, lowest, tolerance, action]] of wanted.groups.entries()) {
            const cells = await groups.nth(i).locator('th, td').allInnerTexts();
            assert.equal(cells[0], name);
            assert.equal(numberOf(cells[1]), pairs);
            near(cells[2], mean);
            near(cells[4], lowest);
            assert.deepEqual([5, 6].map((c) => numberOf(cells[c].split(' (')[0])), [tolerance, action]);
        }
        const structures = page.locator('#structure-rows tr');
        assert.equal(await structures.count(), wanted.structures.length);
        for (const [i, [name, pairs, mean, lowest]] of wanted.structures.entries()) {
            const cells = await structures.nth(i).locator('th, td').allInnerTexts();
            assert.deepEqual([cells[0], numberOf(cells[1])], [name, pairs]);
            near(cells[2], mean);
            near(cells[4], lowest);
        }
    });

    test('the worst pairs stand first; a click sorts by another column', async () => {
        assert.deepEqual((await rows()).slice(0, 5), wanted.worst);
        await page.locator('[data-column="tested"]').click();
        await page.locator('[data-column="tested"]').click();
        await settle(page);
        assert.deepEqual((await rows()).slice(0, 3), wanted.largest);
        await page.locator('[data-column="pass_rate"]').click();
        await settle(page);
        assert.deepEqual((await rows()).slice(0, 5), wanted.worst);
    });

    test('only rows in view are elements, to the last of ten thousand', async () => {
        const host = page.locator('#pairs');
        await host.evaluate((element) => (element.scrollTop = element.scrollHeight));
        await settle(page);
        const shown = await rows();
        assert.ok(shown.length < 80);
        const index = await page.locator('#pairs-body .row').last().getAttribute('aria-rowindex');
        assert.equal(Number(index), count + 1);
        assert.match(await page.locator('#pairs-body .row').last().innerText(), /is cut short/);
        await host.evaluate((element) => (element.scrollTop = 0));
        await settle(page);
    });

    test('filters change everything that is shown', async () => {
        const [name, pairs, mean] = wanted.groups[1];
        await choose('#group', name);
        near(await text('#mean-rate'), mean);
        assert.equal(await page.locator('#group-rows tr').count(), 1);
        assert.match(await text('#mean-text'), new RegExp(`mean of ${pairs.toLocaleString('en').replace(',', '.')} pairs`));
        await showAll();
        await choose('#verdict', 'below the action limit');
        assert.equal(numberOf((await text('#shown')).split(' of ')[0]), wanted.shares[2]);
        await showAll();
        await page.locator('#find').fill('00042');
        await settle(page);
        assert.deepEqual(await rows(), ['pair 00042']);
        await showAll();
        await page.locator('.map button[title="2%L/3mm"]').click();
        await settle(page);
        near(await text('#mean-rate'), wanted.means['2%L/3mm'][0]);
        await page.locator('#structure-rows button', { hasText: 'PTV' }).click();
        assert.match(await text('#mean-text'), /by 2%L\/3mm in PTV/);
        await choose('#structure', 'everything tested');
        await showAll();
    });

    test('control charts have the limits of the database', async () => {
        await page.locator('#chart-groups span', { hasText: 'Linac 2' }).click();
        await settle(page);
        const told = await page.locator('#control-figures dd').allInnerTexts();
        const [centre, lower, upper, action] = wanted.limits;
        near(told[0].replace('%', ''), centre, 3);
        const [low, high] = told[1].replace('%', '').split('–');
        near(low, lower, 3);
        near(high, upper, 3);
        near(told[2].replace('%', ''), action, 3);
        const words = (await text('#control-text')).replaceAll('\u202f', '');
        assert.match(words, new RegExp(`${wanted.charted} pairs; ${wanted.beyond} beyond the limits`));
        const plot = page.locator('#individuals .u-over');
        await plot.scrollIntoViewIfNeeded();
        await plot.click({ position: { x: 200, y: 40 } });
        await settle(page);
        assert.equal(await page.locator('#pairs-body .row.marked').count(), 1);
    });

    test('names are text, and pages of pairs are linked to', async () => {
        assert.equal(await text('#title'), 'A <b>trial</b>');
        await page.locator('#find').fill(wanted.strange);
        await settle(page);
        assert.deepEqual(await rows(), [wanted.strange]);
        const link = page.locator('#pairs-body a');
        assert.equal(await link.innerText(), wanted.strange);
        const target = `pages%20of%20pairs/${encodeURIComponent(`${wanted.strange.slice(0, 20)}.html`)}`;
        assert.equal(await link.getAttribute('href'), target);
        await showAll();
    });

    test('works by keyboard', async () => {
        await page.locator('#pairs').focus();
        await page.keyboard.press('ArrowDown');
        await page.keyboard.press('ArrowDown');
        await settle(page);
        const marked = await page.locator('#pairs-body .row.marked').getAttribute('data-pair');
        assert.ok((await rows()).includes(marked));
    });

    test('prints the worst pairs, in light colours', async () => {
        await page.evaluate(() => window.dispatchEvent(new Event('beforeprint')));
        assert.equal(await page.locator('html').getAttribute('data-theme'), 'light');
        assert.equal((await rows()).length, 60);
        assert.match(await text('#pairs-text'), /the first 60 of/);
        await page.evaluate(() => window.dispatchEvent(new Event('afterprint')));
        assert.ok((await page.pdf({ preferCSSPageSize: true })).length > 20_000);
    });

    test('asks for nothing, complains of nothing and keeps nobody out, in both themes', async () => {
        assert.deepEqual(await barriers(page), []);
        await page.locator('#theme-toggle').click();
        await page.setViewportSize({ width: 400, height: 900 });
        await settle(page);
        assert.deepEqual(await barriers(page), []);
        assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), 400);
        assert.deepEqual(complaints, []);
    });

    test('a page of another format says so', async () => {
        const html = readFileSync(join(folder, 'cohort.html'), 'utf8');
        const other = join(folder, 'other.html');
        writeFileSync(other, html.replace('"formatVersion":1', '"formatVersion":2'));
        const { page: refused } = await openFile(place.browser, other);
        assert.match(await refused.locator('.failure').innerText(), /cannot show a cohort of this format/);
    });
});
