// The page that compares: what it is given beside the doses, uncertainties and units of tables.
import assert from 'node:assert/strict';
import { join } from 'node:path';
import { after, before, describe, test } from 'node:test';
import { numberOf, settle, waitUntil, workplace } from '../browser.mjs';
import { comparing, drop, makeInputs, openPage, recordByProgram, saved, timeless } from './comparing.mjs';

const place = await workplace('given');
const { folder } = place;

before(() => makeInputs(folder));

async function opened(names) {
    const { page, complaints } = await openPage(place.browser);
    await drop(page, ...names.map((name) => join(folder, name)));
    for (const section of ['noise-details', 'planes-details']) {
        await page.locator(`#${section}`).evaluate((details) => details.setAttribute('open', ''));
    }
    return { page, complaints };
}

async function recordOf(page) {
    return JSON.parse((await saved(page, 'save-json')).bytes);
}

describe('uncertainties', () => {
    let page, complaints;
    before(async () => {
        ({ page, complaints } = await opened(['reference.nrrd', 'evaluation.nrrd']));
        await waitUntil(page, 'a comparison', () => document.documentElement.dataset.state === 'complete');
    });
    after(async () => {
        await page?.context().close();
        assert.deepEqual(complaints, []);
    });

    test('of a further file and of a percentage give what the program gives', async () => {
        assert.equal(await page.locator('#layer-uncertainties').count(), 0);
        await page.locator('#reference-uncertainty-file').setInputFiles(join(folder, 'uncertainty.nrrd'));
        await waitUntil(page, 'the name of the file', () =>
            document.getElementById('reference-uncertainty').value === 'uncertainty.nrrd');
        await page.locator('#evaluation-uncertainty').fill('1%');
        await page.locator('#uncertainty-unit').selectOption('gray');
        await comparing(page, () => page.locator('#noise').check());
        const native = await recordByProgram(folder, ['reference.nrrd', 'evaluation.nrrd'], '--noise',
            '-c', '3%/2mm', '-c', '2%/2mm', '--reference-uncertainty', 'uncertainty.nrrd',
            '--evaluation-uncertainty', '1%', '--uncertainty-unit', 'gray');
        const record = await recordOf(page);
        assert.deepEqual(timeless(record).noise, timeless(native).noise);
        assert.deepEqual(timeless(record).criteria, timeless(native).criteria);
        assert.equal(await page.locator('#noise-rows tr').count(), record.noise.differences.length);
    });

    test('are what the map of differences is in units of', async () => {
        await page.locator('label:has(#layer-uncertainties)').click();
        await settle(page);
        assert.match(await page.locator('#scale-unit').innerText(), /Difference \/ u/);
        const at = async (row) => numberOf(await page.locator(`#cross-${row}`).innerText());
        const u = Math.hypot(0.02 * (await at('reference')), 0.01 * (await at('evaluation')));
        const expected = (await at('difference')) / u;
        assert.ok(Math.abs((await at('uncertainties')) - expected) < 0.02, `${await at('uncertainties')}, not ${expected}`);
    });

    test('that are not wanted any more leave nothing behind', async () => {
        await comparing(page, () => page.locator('#noise').uncheck());
        assert.equal(await page.locator('#layer-uncertainties').count(), 0);
        assert.equal(await page.locator('#layer-difference').isChecked(), true);
        assert.equal(await page.locator('#noise-card').isHidden(), true);
    });
});

test('a table without a unit is compared in the one that is given, and in no other', async () => {
    const { page, complaints } = await opened(['points.csv', 'evaluation.nrrd']);
    await waitUntil(page, 'the refusal', () => document.getElementById('file-problems').innerText.includes('tells no unit'));
    await comparing(page, () => page.locator('#dose-unit').selectOption('Gy'));
    const inUnit = (unit) => recordByProgram(folder, ['points.csv', 'evaluation.nrrd'],
        '-c', '3%/2mm', '-c', '2%/2mm', '--dose-unit', unit);
    assert.deepEqual(timeless(await recordOf(page)), timeless(await inUnit('Gy')));
    await comparing(page, () => page.locator('#dose-unit').selectOption('cGy'));
    assert.deepEqual(timeless(await recordOf(page)), timeless(await inUnit('cGy')));
    await page.locator('#dose-unit').selectOption('');
    await waitUntil(page, 'the refusal', () => document.getElementById('file-problems').innerText.includes('tells no unit'));
    await waitUntil(page, 'no comparison', () => !document.querySelector('#results > main:not([hidden])'));
    assert.deepEqual(complaints, []);
    await page.context().close();
});

test('a film is compared in the unit and with the pixels that are given', async () => {
    const { page, complaints } = await opened(['film.tif', 'evaluation.nrrd']);
    const problem = (text) => waitUntil(page, text, (told) => document.getElementById('file-problems').innerText.includes(told), text);
    await problem('the unit of doses and the pixel size must be given');
    await page.locator('#plane').fill('axial');
    await page.locator('#plane-at').fill('0,0,20');
    await page.locator('#dose-unit').selectOption('Gy');
    await problem('the pixel size must be given');
    await page.locator('#pixel-size').fill('2.5');
    await page.locator('#pixel-size').press('Tab');
    // It was the second that could be read, and nothing can be searched in it.
    await waitUntil(page, 'the refusal', () => document.documentElement.dataset.state === 'failed');
    await comparing(page, () => page.locator('#swap').click());
    const native = await recordByProgram(folder, ['film.tif', 'evaluation.nrrd'], '-c', '3%/2mm', '-c', '2%/2mm',
        '--plane', 'axial', '--at', '0,0,20', '--dose-unit', 'Gy', '--pixel-size', '2.5');
    const record = await recordOf(page);
    assert.deepEqual(timeless(record), timeless(native));
    assert.equal(record.request.units.pixelSize, 2.5);
    assert.deepEqual(complaints, []);
    await page.context().close();
});

test('segments of DICOM are structures', async () => {
    const names = ['reference.nrrd', 'evaluation.nrrd', 'segments.dcm'];
    const { page, complaints } = await opened(names);
    await waitUntil(page, 'a comparison', () => document.documentElement.dataset.state === 'complete');
    const native = await recordByProgram(folder, names.slice(0, 2), '-c', '3%/2mm', '-c', '2%/2mm', '--structures', 'segments.dcm');
    const record = await recordOf(page);
    assert.deepEqual(record.structures.list.map(({ name }) => name), ['high', 'half']);
    assert.deepEqual(timeless(record), timeless(native));
    assert.deepEqual(complaints, []);
    await page.context().close();
});
