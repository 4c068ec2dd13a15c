// The page that compares: what must not be hidden beside a verdict.
import assert from 'node:assert/strict';
import { join } from 'node:path';
import { after, before, describe, test } from 'node:test';
import { settle, workplace } from '../browser.mjs';
import { comparing, drop, makeInputs, openPage, saved } from './comparing.mjs';

const place = await workplace('conditions');
const { folder } = place;
const paths = (...names) => names.map((name) => join(folder, name));

before(() => makeInputs(folder));

describe('a pair', () => {
    let page, complaints;
    before(async () => {
        ({ page, complaints } = await openPage(place.browser));
        await comparing(page, () => drop(page, ...paths('reference.dcm', 'evaluation.dcm', 'structures.dcm')));
    });
    after(async () => {
        assert.deepEqual(complaints, []);
        await page?.context().close();
    });
    const text = (id) => page.locator(`#${id}`).innerText();
    const gate = () => page.locator('#gate li').evaluateAll((all) => all.map((li) => li.dataset.name));
    const fill = async (id, value) => {
        await page.locator(`#${id}`).evaluate((field) => field.closest('details')?.setAttribute('open', ''));
        await page.locator(`#${id}`).fill(value);
    };

    test('the reference is marked as guessed until a person confirms it', async () => {
        assert.match(await text('guess'), /reference\.dcm was taken for the reference by the names/);
        assert.deepEqual(await gate(), ['guessed-reference']);
        await comparing(page, () => page.locator('#confirm-roles').click());
        assert.equal(await page.locator('#guess').isHidden(), true);
        assert.deepEqual(await gate(), []);
        assert.deepEqual(JSON.parse((await saved(page, 'save-json')).bytes).gate, []);
    });

    test('what is not as usual stands in the verdict and is counted in its section', async () => {
        assert.equal(await page.locator('#conditions').isHidden(), true);
        await comparing(page, () => fill('evaluation-scale', '1,05'));
        assert.match(await page.locator('#verdict').innerText(), /Not as usual: evaluation times 1,05/);
        assert.match(await page.locator('#planes-details summary').innerText(), /1 setting not as usual/);
        assert.equal(await page.locator('#search-details .count').count(), 0);
        await comparing(page, () => fill('cut-off', '10,5'));
        assert.match(await text('conditions'), /cut-off 10.5 %/);
        await comparing(page, () => fill('cut-off', '0'));
        assert.match(await text('conditions'), /cut-off 0 %/);
        await comparing(page, () => fill('cut-off', ''));
    });

    test('what was refused dims the result, which is not saved, until it is computed again', async () => {
        await fill('within', 'nothing');
        await page.locator('html[data-state=failed]').waitFor();
        assert.equal(await page.locator('#results > main').evaluate((main) => getComputedStyle(main).opacity), '0.4');
        assert.equal(await page.locator('#save').isHidden(), true);
        assert.equal(await page.locator('#print').isDisabled(), true);
        await page.locator('#compute-again').click();
        await page.locator('html[data-state=failed]').waitFor();
        await comparing(page, () => fill('within', ''));
        assert.equal(await page.locator('#again').isHidden(), true);
        assert.equal(await page.locator('#save').isHidden(), false);
        assert.equal(await page.locator('#results > main').evaluate((main) => getComputedStyle(main).opacity), '1');
    });

    test('a criterion for structures keeps its prefix and has the verdict of its structures', async () => {
        await comparing(page, () => fill('criteria', 'PTV*:2%/1mm'));
        assert.match(await page.locator('#criteria-rows th').innerText(), /PTV\*:2%\/1mm\s+in PTV1/);
        assert.match(await text('verdict-criterion'), /^PTV\*: 2/);
        assert.match(await text('verdict-counts'), /^PTV1: /);
        const record = JSON.parse((await saved(page, 'save-json')).bytes);
        const [found] = record.criteria[0].structures;
        assert.equal(Number(await text('verdict-rate')).toFixed(1), found.passRate.toFixed(1));
        assert.equal(record.criteria[0].verdict, found.verdict);
    });

    test('gamma beyond the limit of the search is told as above it', async () => {
        await comparing(page, () => fill('criteria', '1%/1mm'));
        await comparing(page, () => fill('max-gamma', '1'));
        assert.equal(await page.locator('[data-value=max]').first().innerText(), 'above 1');
        assert.match(await page.locator('[data-value=mean]').first().innerText(), /^at most /);
        await comparing(page, () => fill('max-gamma', ''));
    });

    test('the legend of a profile follows the crosshair', async () => {
        const legend = () => page.locator('#profile-x .u-legend tr').first().innerText();
        const before = await legend();
        await page.locator('#slices canvas').first().focus();
        for (let i = 0; i < 3; ++i) {
            await page.keyboard.press('ArrowRight');
        }
        await settle(page);
        assert.notEqual(await legend(), before);
        const x = await page.locator('#cross-x').innerText();
        assert.ok((await legend()).includes(x), `${await legend()} is not at ${x}`);
    });

    test('a warning that is refused by its name ends the comparison', async () => {
        await fill('refuse', 'maxima-ratio');
        await comparing(page, () => fill('evaluation-scale', '1'));
        await fill('evaluation-scale', '100');
        await page.locator('html[data-state=failed]').waitFor();
        assert.match(await text('problem'), /\(Refuse maxima-ratio\)/);
        await comparing(page, () => fill('refuse', ''));
        assert.deepEqual(await gate(), ['maxima-ratio']);
    });

    test('other doses set back what belonged to those before', async () => {
        assert.equal(await page.locator('#evaluation-scale').inputValue(), '100');
        await comparing(page, () => drop(page, ...paths('reference.nrrd', 'evaluation.nrrd')));
        assert.equal(await page.locator('#evaluation-scale').inputValue(), '');
        assert.match(await text('request-status'), /set back/);
        assert.equal(await page.locator('#conditions').isHidden(), true);
    });

    test('equal doses are told', async () => {
        await comparing(page, () => page.locator('#evaluation-choice').selectOption('reference.nrrd'));
        assert.deepEqual(await gate(), ['identical-doses']);
    });
});

test('closing with unsaved results asks', async () => {
    const { page } = await openPage(place.browser);
    // As the browser tells that the page is about to go.
    const asks = () => page.evaluate(() => {
        const leaving = new Event('beforeunload', { cancelable: true });
        window.dispatchEvent(leaving);
        return leaving.defaultPrevented;
    });
    assert.equal(await asks(), false);
    await comparing(page, () => page.locator('#example').click());
    assert.equal(await asks(), true);
    await saved(page, 'save-json');
    await page.locator('#saved', { hasText: 'is made' }).waitFor();
    assert.equal(await asks(), false);
    await page.context().close();
});
