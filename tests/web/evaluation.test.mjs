// The page of one dose in structures, by the program.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, describe, test } from 'node:test';
import { barriers, lookAt, numberOf, openFile, settle, workplace } from './browser.mjs';
import { makeInputs } from './compare/comparing.mjs';

const { ZARNGI_PROGRAM: program } = process.env;
const place = await workplace('evaluation');
const { folder } = place;

/** Goals that are not met end the program with 3. */
function writePage(...options) {
    const path = join(folder, 'dvh.html');
    const files = ['reference.dcm', '--structures', 'structures.dcm', '--report', 'dvh.html', '--json', 'dvh.json'];
    try {
        execFileSync(program, ['dvh', ...files, ...options], { cwd: folder, stdio: 'ignore' });
    } catch (error) {
        assert.equal(error.status, 3);
    }
    return { path, document: JSON.parse(readFileSync(join(folder, 'dvh.json'), 'utf8')) };
}

describe('one dose in structures', { skip: !program && 'no program' }, () => {
    let page, complaints, document;
    const legend = () => page.locator('#dvh .u-legend .u-label').allInnerTexts();

    before(async () => {
        makeInputs(folder);
        const goals = ['PTV1: Dmax >= 1 Gy', 'CORD: Dmax < 0.1 Gy', 'PTV1: D500cc > 1 Gy'].flatMap((goal) => ['--goal', goal]);
        const made = writePage(...goals, '--dvh', 'D90,V1Gy', '--header', 'comment=seen <b>');
        document = made.document;
        ({ page, complaints } = await openFile(place.browser, made.path));
    });
    after(() => page?.close());

    test('goals with their margins, and how many are met', async () => {
        assert.match(await page.locator('#verdict-goals').innerText(), /Fail\s+1 of 3 goals met/);
        const rows = await page.locator('#goal-rows tr').all();
        assert.deepEqual(document.goals.map(({ verdict }) => verdict), ['pass', 'fail', 'none']);
        assert.equal(rows.length, 3);
        for (const [i, { verdict, reference }] of document.goals.entries()) {
            const [, found, margin] = await rows[i].locator('td').allInnerTexts();
            assert.equal(await rows[i].getAttribute('data-verdict'), verdict);
            if (reference.value !== null) {
                assert.ok(Math.abs(numberOf(found.replace('Gy', '')) - reference.value) <= 0.00501, found);
                assert.ok(Math.abs(numberOf(margin) - reference.margin) <= 0.00501, margin);
            }
        }
        assert.match(await rows[2].innerText(), /Not determined: is smaller than 500 cc/);
    });

    test('figures of all structures, one dose each', async () => {
        const heads = await page.locator('#figure-head th').allInnerTexts();
        assert.ok(['D90', 'V1Gy / %'].every((name) => heads.includes(name)), heads.join());
        const { list } = document.structures;
        assert.equal(await page.locator('#figure-rows tr').count(), list.length);
        const cells = await page.locator('#figure-rows tr').first().locator('td').allInnerTexts();
        const { volume, dvh } = list.find(({ name }) => name === 'PTV1');
        assert.ok(Math.abs(numberOf(cells[0]) - volume) <= 0.00501, cells[0]);
        assert.ok(Math.abs(numberOf(cells[heads.indexOf('D90') - 1]) - dvh.reference.metrics.D90) <= 0.00501);
    });

    test('curves of the structures that are chosen', async () => {
        assert.deepEqual(await legend(), ['Dose', 'PTV1', 'CORD']);
        await page.getByLabel('Curve of PTV1').uncheck();
        assert.deepEqual(await legend(), ['Dose', 'CORD']);
        assert.equal(await page.locator('#dvh').getAttribute('aria-label'), 'Dose-volume histograms of CORD');
        await page.getByLabel('Curve of PTV1').check();
        assert.equal((await legend()).length, 3);
    });

    test('the header is text, with lines to sign on paper', async () => {
        assert.equal(await page.locator('#header-fields dd').innerText(), 'seen <b>');
        assert.ok(!(await page.locator('#signatures p').first().isVisible()));
        const pdf = await page.pdf({ preferCSSPageSize: true });
        assert.equal(pdf.toString('latin1').match(/\/Type\s*\/Page\b/g).length, 1);
        await page.evaluate(() => dispatchEvent(new Event('beforeprint')));
        assert.ok(await page.locator('#signatures p').first().isVisible());
        await page.evaluate(() => dispatchEvent(new Event('afterprint')));
        assert.equal(await page.locator('html.printing').count(), 0);
    });

    test('nobody is kept out of it, in both themes', async () => {
        for (const theme of ['light', 'dark']) {
            await page.emulateMedia({ colorScheme: theme });
            await settle(page);
            const { colours, corner } = await lookAt(place.browser, await page.screenshot());
            assert.ok(colours > 30 && corner > 200 === (theme === 'light'), `${colours} colours, ${corner}`);
            assert.deepEqual(await barriers(page), []);
        }
        const size = page.viewportSize();
        await page.setViewportSize({ width: 400, height: 900 });
        await settle(page);
        assert.deepEqual(await barriers(page), []);
        assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), 400);
        await page.setViewportSize(size);
    });

    test('nothing was complained about, nothing was asked of the network', () => assert.deepEqual(complaints, []));
});

test('without goals there is no verdict', { skip: !program && 'no program' }, async () => {
    const { page } = await openFile(place.browser, writePage().path);
    assert.ok(!(await page.locator('#verdict').isVisible()));
    assert.ok(!(await page.locator('#goal-card').isVisible()));
    assert.equal(await page.locator('#figure-rows tr').count(), 2);
    await page.close();
});
