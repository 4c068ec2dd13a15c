// The page that compares: files come in, are told apart, and what goes out is what the program writes.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { copyFileSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, describe, test } from 'node:test';
import { workplace } from '../browser.mjs';
import { readPage } from '../pageFormat.mjs';
import {
    comparing, data, drop, makeInputs, mapParts, openPage, program, recordByProgram, run, saved, timeless, timelessRows, written,
} from './comparing.mjs';

const place = await workplace('files');
const { folder } = place;
const input = (name) => join(folder, name);

before(() => makeInputs(folder));

async function compareWithProgram(page, native) {
    const json = await saved(page, 'save-json');
    assert.deepEqual(timeless(JSON.parse(json.bytes)), timeless(JSON.parse(native['.json'])));
    const csv = await saved(page, 'save-csv');
    assert.deepEqual(timelessRows(csv.bytes.toString()), timelessRows(native['.csv']));

    const report = readPage((await saved(page, 'save-page')).bytes.toString());
    const expected = readPage(native['.html']);
    assert.deepEqual(timeless(report.report), timeless(expected.report));
    assert.deepEqual(report.stored, expected.stored);
}

async function compareMaps(page, inputs) {
    for (const format of ['.nrrd', '.nii.gz']) {
        const path = join(folder, `native-map${format}`);
        const written = run(program, ['compare', ...inputs, '-c', '3%/2mm', '--gamma-map', path], { cwd: folder });
        await page.locator('#map-format').selectOption(format);
        const map = await saved(page, 'save-map');
        await written;
        assert.ok(map.name.endsWith(format));
        assert.deepEqual(mapParts(map.name, map.bytes), mapParts(path, readFileSync(path)));
    }
}

const pairs = [
    { name: 'NRRD', files: ['reference.nrrd', 'evaluation.nrrd'] },
    { name: 'MetaImage', files: ['reference.mha', 'evaluation.mha'] },
    { name: 'MetaImage with data beside it', files: ['reference.mhd', 'evaluation.mhd'], data: ['reference.raw', 'evaluation.raw'] },
    { name: 'NIfTI', files: ['reference.nii.gz', 'evaluation.nii.gz'] },
    { name: 'DICOM with structures', files: ['reference.dcm', 'evaluation.dcm'], structures: 'structures.dcm' },
    { name: 'NRRD with a label mask', files: ['reference.nrrd', 'evaluation.nrrd'], structures: 'mask.nrrd' },
];
describe('a dropped pair gives what the program gives, one after another', () => {
    let page, complaints;
    before(async () => {
        ({ page, complaints } = await openPage(place.browser));
    });
    after(async () => {
        await page?.context().close();
    });

    for (const { name, files, data: beside = [], structures } of pairs) {
        test(name, async () => {
            const dropped = [...files, ...beside, ...(structures ? [structures] : [])];
            const options = structures ? ['--structures', structures] : [];
            const native = written(folder, files, '-c', '3%/2mm', '-c', '2%/2mm', ...options);
            await comparing(page, () => drop(page, ...dropped.map(input)));
            assert.equal(await page.locator('#left-out').innerText(), '', 'data of headers are not foreign');
            assert.equal(await page.locator('#structure-rows').isVisible(), structures !== undefined);
            await compareWithProgram(page, await native);
            await compareMaps(page, files);
            assert.deepEqual(complaints, []);
        });
    }
});

test('clinical pairs with their structures give what the program gives', { skip: !data && 'no data' }, async () => {
    const { page, complaints } = await openPage(place.browser);
    const files = ['head_neck_day1.nrrd', 'head_neck_day2.nrrd'];
    const structures = 'head_neck_structures.dcm';
    const beams = ['proton_ramp_beam1.dcm', 'proton_ramp_beam2.dcm'];
    [...files, structures, ...beams].forEach((name) => copyFileSync(join(data, name), input(name)));
    const native = written(folder, files, '-c', '3%/2mm', '-c', '2%/2mm', '--structures', structures);
    await comparing(page, () => drop(page, ...[...files, structures].map(input)));
    await compareWithProgram(page, await native);

    await comparing(page, () => page.locator('#any-files').setInputFiles(beams.map(input)));
    assert.ok(!(await page.locator('#structures').isVisible()), 'another pair starts without the structures of the first');
    const protons = JSON.parse((await saved(page, 'save-json')).bytes);
    const beamsByProgram = await recordByProgram(folder, beams, '-c', '3%/2mm', '-c', '2%/2mm');
    assert.deepEqual(timeless(protons), timeless(beamsByProgram));
    assert.deepEqual(complaints, []);
    await page.context().close();
});

const ways = {
    dropped: (page) => drop(page, input('mixed')),
    chosen: (page) => page.locator('#folder').setInputFiles(input('mixed')),
};
for (const [way, give] of Object.entries(ways)) {
    test(`a folder with forty mixed files is ${way}: doses and structures are found, the rest is counted`, async () => {
        const { page, complaints } = await openPage(place.browser);
        await comparing(page, () => give(page));
        assert.equal(await page.locator('#left-out').innerText(), '32 other DICOM files and 2 other files left out');
        const rows = await page.locator('#file-rows tr').evaluateAll((lines) =>
            lines.map(({ dataset }) => [dataset.path, dataset.kind]),
        );
        assert.deepEqual(rows, [
            ['mixed/RD.1.dcm', 'dose'], ['mixed/RD.2.dcm', 'dose'], ['mixed/RD.3.dcm', 'dose'],
            ['mixed/measured.mhd', 'dose'], ['mixed/RS.dcm', 'structures'],
        ]);
        const choices = await page.locator('#evaluation-choice option').allInnerTexts();
        assert.ok(choices.includes('mixed/RD.2.dcm, BEAM, 18 × 15 × 12, 2.061 Gy'), choices.join('\n'));
        assert.match(await page.locator('#files').innerText(), /RD\.1[^]*RD\.3/, 'the two doses of plans');
        await comparing(page, () => page.locator('#evaluation-choice').selectOption('mixed/measured.mhd'));
        assert.match(await page.locator('#files').innerText(), /RD\.1[^]*measured/);
        assert.deepEqual(complaints, []);
        await page.context().close();
    });
}

test('files are chosen one by one, also under one name, and swapped', async () => {
    const { page, complaints } = await openPage(place.browser);
    const named = (name) => ({ name: 'dose.nrrd', mimeType: '', buffer: readFileSync(input(name)) });
    await page.locator('#reference-file').setInputFiles(named('reference.nrrd'));
    await page.locator('#choose-hint', { hasText: 'A comparison takes two doses.' }).waitFor();
    await comparing(page, () => page.locator('#evaluation-file').setInputFiles(named('evaluation.nrrd')));
    const maxima = () => page.locator('#provenance td:nth-child(6)').allInnerTexts();
    const before = await maxima();
    assert.notEqual(before[0], before[1]);
    await comparing(page, () => page.locator('#swap').click());
    assert.deepEqual(await maxima(), [...before].reverse());

    await comparing(page, () => page.locator('#structures-file').setInputFiles(input('mask.nrrd')));
    assert.ok(await page.locator('#structure-rows').isVisible());
    await comparing(page, () => page.locator('#file-rows input[type=checkbox]').uncheck());
    assert.ok(!(await page.locator('#structure-rows').isVisible()));
    await comparing(page, () => page.locator('#reference-choice').selectOption('mask.nrrd'));
    assert.match(await page.locator('#files').innerText(), /mask\.nrrd/, 'a mask may be a dose');
    assert.deepEqual(complaints, []);
    await page.context().close();
});

test('the sentences about files that are no doses are those of the program', async () => {
    const { page, complaints } = await openPage(place.browser);
    for (const name of ['notes.txt', 'damaged.nrrd', 'lonely.mhd']) {
        const { status, stderr } = spawnSync(program, ['compare', name, name], { cwd: folder, encoding: 'utf8' });
        assert.notEqual(status, 0);
        await page.locator('#reference-file').setInputFiles(input(name));
        const alert = page.locator('#start [role=alert]', { hasText: name });
        await alert.waitFor();
        assert.equal(`zarngi: ${await alert.innerText()}`, stderr.trim());
        assert.equal(await page.locator('#page').count(), 0, 'nothing half shown');
    }
    await page.locator('#reference-file').setInputFiles(input('structures.dcm'));
    await page.locator('#file-rows [data-kind=structures]').waitFor();
    assert.equal(await page.locator('#reference-choice').inputValue(), '', 'structures are no dose');
    assert.equal(await page.locator('#page').count(), 0, 'nothing half shown');
    assert.deepEqual(complaints, []);
    await page.context().close();
});

test('a file that changes after it was chosen is told beside it', async () => {
    const { page } = await openPage(place.browser);
    const path = input('changing.nrrd');
    writeFileSync(path, readFileSync(input('evaluation.nrrd')));
    await page.locator('#any-files').setInputFiles(path);
    await page.locator('#file-rows [data-path="changing.nrrd"]').waitFor();
    writeFileSync(path, 'something else');
    await page.locator('#evaluation-file').setInputFiles(input('reference.nrrd'));
    const alert = page.locator('#file-rows [role=alert], #problem');
    await page.locator('html[data-state=failed], html[data-state=complete]').waitFor();
    assert.match((await alert.allInnerTexts()).join(''), /changing\.nrrd: .*changed or moved since it was chosen/);
    assert.equal(await page.locator('#page').count(), 0);
    await page.context().close();
});
