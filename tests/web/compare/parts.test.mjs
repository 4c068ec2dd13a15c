// Large doses, whose search is shared out to more workers: the same results, whoever searches.
import assert from 'node:assert/strict';
import { join } from 'node:path';
import { before, test } from 'node:test';
import { workplace } from '../browser.mjs';
import { writeLargeDose } from '../largeDose.mjs';
import { comparing, openPage, recordByProgram, saved, timeless } from './comparing.mjs';

const place = await workplace('parts');
const { folder } = place;
const pair = ['reference.mha', 'evaluation.mha'].map((name) => join(folder, name));
let wanted;

before(async () => {
    pair.forEach((path, i) => writeLargeDose(path, 0.8 * i));
    wanted = timeless(await recordByProgram(folder, ['reference.mha', 'evaluation.mha'], '-c', '3%/2mm', '-c', '2%/2mm'));
});

/** Counts the workers of a page that is told of so many processors. */
function count({ processors, fails }) {
    Object.defineProperty(navigator, 'hardwareConcurrency', { get: () => processors });
    const Plain = globalThis.Worker;
    globalThis.workers = 0;
    globalThis.Worker = class {
        constructor(...given) {
            const isHelper = ++globalThis.workers > 1;
            const body = fails === 'to start' ? 'throw new Error("no")' : 'onmessage = () => { throw new Error("no") }';
            return fails && isHelper ? new Plain(URL.createObjectURL(new Blob([body]))) : new Plain(...given);
        }
    };
}

async function openCounting(told) {
    return openPage(place.browser, {
        prepare: (page) => page.addInitScript(count, told),
    });
}

const cases = [
    { told: { processors: 3 }, workers: 4, threads: 3 },
    { told: { processors: 1 }, workers: 1 },
    { told: { processors: 2, fails: 'to start' }, workers: 3 },
    { told: { processors: 2, fails: 'to search' }, workers: 3 },
];
for (const { told, workers, threads = 1 } of cases) {
    test(`${told.processors} processors${told.fails ? `, helpers fail ${told.fails}` : ''}`, async () => {
        const { page, complaints } = await openCounting(told);
        await comparing(page, () => page.locator('#any-files').setInputFiles(pair));
        const record = JSON.parse((await saved(page, 'save-json')).bytes);
        assert.deepEqual(timeless(record), wanted);
        assert.equal(record.threads, threads);
        assert.equal(await page.evaluate(() => globalThis.workers), workers);
        assert.deepEqual(complaints.filter((one) => !/no$/.test(one)), []);
        await page.context().close();
    });
}

test('stopped while helpers search, and made again', async () => {
    const { page, complaints } = await openCounting({ processors: 2 });
    await page.locator('#step').evaluate((field) => field.closest('details')?.setAttribute('open', ''));
    await page.locator('#step').fill('0.0005');
    await page.locator('#any-files').setInputFiles(pair);
    await page.waitForFunction(() => globalThis.workers === 3);
    await page.locator('#stop').waitFor();
    await page.locator('#stop').click();
    await page.locator('html[data-state=stopped]').waitFor();
    await comparing(page, () => page.locator('#step').fill(''));
    assert.deepEqual(timeless(JSON.parse((await saved(page, 'save-json')).bytes)), wanted);
    assert.deepEqual(complaints, []);
    await page.context().close();
});
