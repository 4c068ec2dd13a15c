// Doses too large for the 2 GB that the engine may take: one sentence, nothing half shown, and the page
// goes on. Their voxels are many but few bytes when packed.
import assert from 'node:assert/strict';
import { join } from 'node:path';
import { before, test } from 'node:test';
import { gzipSync } from 'node:zlib';
import { workplace } from '../browser.mjs';
import { comparing, makeInputs, openPage } from './comparing.mjs';

const place = await workplace('memory');
const { folder } = place;
const side = 1000;
const slice = gzipSync(Float32Array.from({ length: side * side }, (_, i) => 0.5 + (i % 7)));

before(() => makeInputs(folder));

/** A dose of so many million voxels of 4 bytes. */
function doseOf(millions) {
    const header = [
        'NRRD0004', 'type: float', 'dimension: 3', 'space: left-posterior-superior',
        `sizes: ${side} ${side} ${millions}`, 'space directions: (1,0,0) (0,1,0) (0,0,1)',
        'space origin: (0,0,0)', 'endian: little', 'encoding: gzip', '', '',
    ];
    const buffer = Buffer.concat([Buffer.from(header.join('\n')), ...Array(millions).fill(slice)]);
    return { name: 'huge.nrrd', mimeType: '', buffer };
}

async function goesOn(page) {
    assert.equal(await page.locator('#page').count(), 0, 'nothing half shown');
    const pair = ['reference.nrrd', 'evaluation.nrrd'].map((name) => join(folder, name));
    await comparing(page, () => page.locator('#any-files').setInputFiles(pair));
    assert.ok(!(await page.locator('#problem').isVisible()));
}

test('a dose that cannot be read', async () => {
    const { page, complaints } = await openPage(place.browser);
    await page.locator('#reference-file').setInputFiles(doseOf(600));
    const alert = page.locator('#file-problems [role=alert]');
    await alert.waitFor();
    assert.equal(await alert.innerText(), 'huge.nrrd: does not fit in memory');
    assert.equal(await page.locator('#file-rows tr').count(), 0);
    await goesOn(page);
    assert.deepEqual(complaints, []);
    await page.context().close();
});

// The dose, which is both of the pair, and the map of a criterion are too much together.
test('a comparison for which there is no memory', async () => {
    const { page, complaints } = await openPage(place.browser);
    await page.locator('#reference-file').setInputFiles(doseOf(270));
    await page.locator('#evaluation-choice option[value="huge.nrrd"]').waitFor({ state: 'attached' });
    await page.locator('#evaluation-choice').selectOption('huge.nrrd');
    await page.locator('html[data-state=failed]').waitFor();
    const told = await page.locator('[role=alert]:visible').allInnerTexts();
    assert.deepEqual(told, ['There is not enough memory in this browser for this comparison.']);
    await goesOn(page);
    assert.deepEqual(complaints, []);
    await page.context().close();
});
