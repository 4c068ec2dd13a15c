// The page that compares, as a physicist goes through a day: nothing of a task stays in the next one.
import assert from 'node:assert/strict';
import { join } from 'node:path';
import { after, before, describe, test } from 'node:test';
import { barriers, lookAt, settle, workplace } from '../browser.mjs';
import { comparing, criteriaShown, drop, makeInputs, openPage, recordByProgram, saved, timeless } from './comparing.mjs';

const place = await workplace('tasks');
const { folder } = place;
const usual = ['-c', '3%/2mm', '-c', '2%/2mm'];

before(() => makeInputs(folder));

describe('a day', () => {
    let page, complaints;
    const text = (id) => page.locator(`#${id}`).innerText();
    const gate = () => page.locator('#gate li').evaluateAll((all) => all.map((li) => li.dataset.name));
    const open = (id) => page.locator(`#${id}`).evaluate((field) => field.closest('details')?.setAttribute('open', ''));
    /** A request names plans as seen from where its document lies. */
    const comparable = ({ request: { plans, ...request }, ...record }) => timeless({ ...record, request });
    const recordShown = async () => comparable(JSON.parse((await saved(page, 'save-json')).bytes));
    const fileIn = (patient, name) => join('patients', patient, name);
    const byProgram = async (patient, first, second, ...options) => {
        const files = [first, second].map((name) => fileIn(patient, `RD.${name}.dcm`));
        const more = ['--structures', fileIn(patient, 'RS.dcm'), '--plan', fileIn(patient, 'RP.dcm')];
        return comparable(await recordByProgram(folder, files, ...options, ...more));
    };
    before(async () => {
        ({ page, complaints } = await openPage(place.browser));
    });
    after(async () => {
        assert.deepEqual(complaints, []);
        await page?.context().close();
    });

    test('the folder of a patient: doses, plan and structures have their roles', async () => {
        await comparing(page, () => drop(page, join(folder, 'patients', 'first')));
        assert.match(await text('guess-reason'), /RD\.planned\.dcm was taken for the reference/);
        assert.deepEqual(await gate(), ['guessed-reference']);
        await comparing(page, () => page.locator('#confirm-roles').click());
        assert.deepEqual(await gate(), []);
        assert.deepEqual(await recordShown(), await byProgram('first', 'planned', 'recomputed', ...usual));
    });

    test('swapped, and back', async () => {
        await comparing(page, () => page.locator('#swap').click());
        assert.deepEqual(await recordShown(), await byProgram('first', 'recomputed', 'planned', ...usual));
        await comparing(page, () => page.locator('#swap').click());
    });

    test('criteria one after another, local, for structures', async () => {
        for (const criteria of ['1%/1mm', '2%L/2mm', 'PTV*:2%/1mm']) {
            await comparing(page, () => page.locator('#criteria').fill(criteria));
            assert.deepEqual(await criteriaShown(page).then((all) => all.map((one) => one.split(/\s/)[0])), [criteria]);
        }
        assert.deepEqual(await recordShown(), await byProgram('first', 'planned', 'recomputed', '-c', 'PTV*:2%/1mm'));
    });

    test('signed for this patient, and looked at in both themes', async () => {
        await open('identify');
        await comparing(page, () => page.locator('#identify').check());
        await comparing(page, () => page.locator('#header-comment').fill('replanned'));
        await comparing(page, () => page.locator('#header-performedBy').fill('Ada'));
        assert.match(await text('header-fields'), /HN 1[^]*replanned/);
        for (const theme of ['light', 'dark']) {
            await page.emulateMedia({ colorScheme: theme });
            await settle(page);
            const { corner } = await lookAt(place.browser, await page.screenshot());
            assert.equal(corner > 200, theme === 'light', `${corner}`);
            assert.deepEqual(await barriers(page), [], theme);
        }
        await page.emulateMedia({ colorScheme: 'light' });
    });

    test('the next patient has nothing of this one', async () => {
        await open('evaluation-scale');
        await comparing(page, () => page.locator('#evaluation-scale').fill('1.05'));
        await comparing(page, () => drop(page, join(folder, 'patients', 'second')));
        await comparing(page, () => page.locator('#confirm-roles').click());
        assert.match(await text('header-fields'), /HN 2/);
        const given = ['-c', 'PTV*:2%/1mm', '--identify', '--header', 'performedBy=Ada'];
        assert.deepEqual(await recordShown(), await byProgram('second', 'planned', 'recomputed', ...given));
        assert.doesNotMatch(await text('page'), /patient-1|HN 1|replanned/);
    });

    test('structures and plan of the one before are warned of', async () => {
        await page.locator('#structures-file').setInputFiles(join(folder, fileIn('first', 'RS.dcm')));
        await page.locator('#gate li[data-name=other-patient-structures]').waitFor();
        await comparing(page, () => drop(page, join(folder, fileIn('first', 'RP.dcm'))));
        assert.deepEqual(await gate(), ['other-patient-plan', 'other-patient-structures']);
    });

    test('a dose twice, a damaged file, a foreign one', async () => {
        await comparing(page, () => page.locator('#evaluation-choice').selectOption({ index: 0 }));
        assert.ok((await gate()).includes('identical-doses'));
        for (const [name, sentence] of [['damaged.nrrd', /damaged\.nrrd: /], ['notes.txt', /notes\.txt: /]]) {
            await drop(page, join(folder, name));
            await page.locator('#file-problems p', { hasText: name }).waitFor();
            assert.match(await text('file-problems'), sentence);
        }
        // What comes in is compared anew, and the page replaced by the same one.
        await page.locator('#gate li[data-name="identical-doses"]').waitFor({ state: 'attached' });
    });
});
