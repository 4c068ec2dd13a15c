// The page of planes and points, in a real browser, as the program writes it.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { before, describe, test } from 'node:test';
import { crosshair, numberOf, openFile, settle, workplace } from './browser.mjs';
import { readPage } from './pageFormat.mjs';

const { ZARNGI_PROGRAM: program } = process.env;
const place = await workplace('measurements');
const { folder } = place;
const skip = !program && 'there is no program';
const size = 21;
const step = 5;


/** A bump; `factor` tells the dose at a place from that of the plan. */
function dose(x, y, factor = 1) {
    return factor * 2 * Math.exp(-((x / 30) ** 2) - (y / 40) ** 2);
}

const at = (i) => step * (i - (size - 1) / 2);
const indices = [...Array(size).keys()];

function write(name, lines) {
    const path = join(folder, name);
    writeFileSync(path, `${lines.join('\n')}\n`);
    return path;
}

/** Detectors in a chequered pattern, each cell by its indices; null: none. */
function plane(name, cell) {
    const rows = [...indices].reverse().map((j) =>
        [at(j), ...indices.map((i) => cell(i, j) ?? '')].join('\t'));
    return write(name, ['dose in Gy, mm', ['', ...indices.map(at)].join('\t'), ...rows]);
}

async function open(name, ...parameters) {
    const path = join(folder, name);
    execFileSync(program, ['compare', ...parameters, '--report', path]);
    const { report, stored } = readPage(readFileSync(path, 'utf8'));
    return { report, stored, ...(await openFile(place.browser, path)) };
}

const shown = (page, selector) => page.locator(selector).evaluateAll(
    (all) => all.filter((e) => e.offsetParent !== null).length);

describe('an array beside a plane', { skip }, () => {
    let opened;
    // One detector reads far too much.
    const hot = [8, 12];

    before(async () => {
        const measured = plane('array.txt', (i, j) =>
            (i + j) % 2 === 0 ? dose(at(i), at(j), i === hot[0] && j === hot[1] ? 1.5 : 1) : null);
        const planned = plane('plan.txt', (i, j) => dose(at(i), at(j)));
        opened = await open('array.html', measured, planned, '-c', '3%/2mm');
    });

    test('one view and two profiles', async () => {
        const { page, complaints } = opened;
        assert.deepEqual(complaints, []);
        assert.equal(await shown(page, '#slices figure'), 1);
        assert.equal(await shown(page, '#slices input[type=range]'), 0);
        assert.equal(await shown(page, '#profiles .uplot'), 2);
        const [view, host] = await Promise.all(
            ['#slices canvas', '#slices'].map((s) => page.locator(s).first().boundingBox()));
        assert.ok(view.width > 0.9 * host.width || view.height > 500);
    });

    test('gaps hold no dose', async () => {
        const { page, stored, report } = opened;
        const gaps = stored.reference.filter((word) => word === -32768).length;
        const { places, measured } = report.measurements.reference;
        assert.equal(places, size * size);
        assert.equal(gaps, places - measured);
        await settle(page);
        assert.deepEqual(await crosshair(page), [...hot, 0]);
        await page.locator('#axial-slice').focus();
        await page.keyboard.press('ArrowRight');
        await settle(page);
        assert.equal(await page.locator('#cross-reference').innerText(), '–');
        const planned = numberOf(await page.locator('#cross-evaluation').innerText());
        assert.ok(Math.abs(planned - dose(at(hot[0] + 1), at(hot[1]))) < 1e-3);
        assert.equal(await page.locator('#cross-gamma-0').innerText(), 'not tested');
    });

    test('nothing across the plane is shown as a size', async () => {
        const { page, report } = opened;
        for (const role of ['reference', 'evaluation']) {
            assert.deepEqual(report.grids[role].spacing, [step, step, null]);
        }
        const text = await page.locator('body').innerText();
        assert.equal(text.split('5 × 5').length - 1 >= 2, true);
        assert.doesNotMatch(text, /5 × 5 × \d|0\.0078/);
        const volumes = await page.locator('#cluster-rows td:nth-child(3)').allInnerTexts();
        assert.ok(volumes.length > 0 && volumes.every((cell) => cell === '–'), volumes.join());
    });

    test('the profile lies along the row of the crosshair', async () => {
        const { page } = opened;
        const text = await page.locator('#profile-x-title').innerText();
        assert.equal(text, `Along x at y = ${at(hot[1]).toFixed(1)} mm`);
    });
});

describe('points', { skip }, () => {
    let opened;
    const places = indices.map((i) => [at(i), Math.round(13 * Math.sin(7 * i) * 10) / 10]);

    before(async () => {
        const lines = places.map(([x, y], i) => [x, y, dose(x, y, i === 9 ? 1.4 : 1)].join(','));
        const points = write('points.csv', ['x (mm),y (mm),dose (Gy)', ...lines]);
        const planned = plane('plan.txt', (i, j) => dose(at(i), at(j)));
        opened = await open('points.html', points, planned, '-c', '3%/3mm');
    });

    test('are points, and a table, the worst first', async () => {
        const { page, complaints, report } = opened;
        assert.deepEqual(complaints, []);
        assert.equal(await shown(page, '#point-pictures canvas'), 1);
        assert.equal(await shown(page, '#viewer, #profiles-card, #bands, #clusters'), 0);
        const rows = await page.locator('#point-rows tr').allInnerTexts();
        assert.equal(rows.length, places.length);
        const gammas = report.criteria[0].pointGammas;
        assert.equal(gammas.indexOf(Math.max(...gammas)), 9);
        const cells = rows[0].split('\t').map((cell) => cell.trim());
        assert.equal(cells[0], '10');
        assert.equal(numberOf(cells[1]), places[9][0]);
        assert.equal(cells.at(-1), '✕ failed');
    });

    test('are chosen in the picture', async () => {
        const { page } = opened;
        await page.locator('#point-rows tr').nth(2).click();
        const chosen = await page.locator('#point-rows tr.selected').getAttribute('data-point');
        await page.locator('#point-rows tr').nth(0).click();
        assert.notEqual(
            await page.locator('#point-rows tr.selected').getAttribute('data-point'), chosen);
        assert.equal(await page.locator('#point-rows tr.selected').count(), 1);
    });
});
