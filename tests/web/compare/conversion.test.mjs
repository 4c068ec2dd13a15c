// The page that compares: a dose that was dropped, saved in another format.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { waitUntil, workplace } from '../browser.mjs';
import { drop, makeInputs, openPage, program, run, saved } from './comparing.mjs';

const place = await workplace('conversion');
const { folder } = place;
let page, complaints;

before(async () => {
    makeInputs(folder);
    ({ page, complaints } = await openPage(place.browser));
    await drop(page, ...['reference.dcm', 'evaluation.nrrd'].map((name) => join(folder, name)));
    await waitUntil(page, 'a comparison', () => document.documentElement.dataset.state === 'complete');
    await page.locator('#convert-details').evaluate((details) => details.setAttribute('open', ''));
});
after(async () => {
    await page?.context().close();
    assert.deepEqual(complaints, []);
});

async function byProgram(...words) {
    const path = join(folder, 'native.dcm');
    await run(program, ['convert', words[0], path, ...words.slice(1)], { cwd: folder });
    return readFileSync(path);
}

function told(text) {
    return waitUntil(page, text, (wanted) => document.getElementById('converted').innerText.includes(wanted), text);
}

test('an RT Dose of nobody has the bytes of the program', async () => {
    await page.locator('#convert-dose').selectOption('evaluation.nrrd');
    await page.locator('#convert-scale').fill('1/33');
    const { name, bytes } = await saved(page, 'convert');
    assert.equal(name, 'evaluation.dcm');
    assert.deepEqual(bytes, await byProgram('evaluation.nrrd', '--scale', '1/33'));
    await page.locator('#convert-scale').fill('');
});

test('what names a patient is saved when that is agreed to', async () => {
    await page.locator('#convert-like').selectOption('reference.dcm');
    await page.locator('#convert').click();
    await page.locator('#names-patient').waitFor();
    assert.match(await page.locator('#names-patient-text').innerText(), /patient of reference\.dcm/);
    await page.keyboard.press('Escape');
    await told('evaluation.dcm is not saved');
    await page.locator('#convert').click();
    const { bytes } = await saved(page, 'names-patient-save');
    assert.deepEqual(bytes, await byProgram('evaluation.nrrd', '--like', 'reference.dcm'));
    assert.ok(bytes.includes('Secret^Patient'));
    await page.locator('#convert-format').selectOption('.mha');
    assert.equal(await page.locator('#convert-like').isDisabled(), true);
    assert.equal((await saved(page, 'convert')).bytes.includes('Secret'), false);
});

test('a factor that is none is told in one sentence', async () => {
    await page.locator('#convert-scale').fill('none');
    await page.locator('#convert').click();
    await told('Times: "none" is not a positive number or a fraction like 1/33');
});
