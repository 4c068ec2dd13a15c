// The page that compares: rates by criterion, which nobody waits for.
import assert from 'node:assert/strict';
import { before, test } from 'node:test';
import { settle, waitUntil, workplace } from '../browser.mjs';
import { comparing, criteriaShown, openPage } from './comparing.mjs';

const place = await workplace('fields');


/** Makes every field of the map take minutes: before it the worker is given a comparison to make. */
async function makeFieldsEndless(page) {
    await page.evaluate(() => {
        const post = Worker.prototype.postMessage;
        let request;
        globalThis.heldUp = 0;
        Worker.prototype.postMessage = function (message, ...others) {
            const { call } = message;
            request = call.call === 'compare' ? call.request : request;
            if (call.call === 'rates' && globalThis.heldUp >= 0) {
                globalThis.heldUp += 1;
                const long = { ...request, criteria: ['1%/3mm'], step: 0.01, maxGamma: 10 };
                post.call(this, { id: -1, call: { call: 'compare', request: long, command: '' } });
            }
            post.call(this, message, ...others);
        };
    });
}

const heldUp = (page, count) => waitUntil(page, `field ${count} to be held up`, (n) => globalThis.heldUp >= n, count);
const known = (page, count) => waitUntil(page, `${count} fields`, (n) => document.querySelectorAll('.sweep-field:not(.pending)').length >= n, count);

test('a field under way gives way to criteria and to files, and is filled in later', async () => {
    const { page, complaints } = await openPage(place.browser);
    await makeFieldsEndless(page);
    await comparing(page, () => page.locator('#example').click());
    await heldUp(page, 1);
    await comparing(page, () => page.locator('#criteria').fill('3%/3mm'));
    assert.deepEqual(await criteriaShown(page), ['3%/3mm']);
    await heldUp(page, 2);
    await comparing(page, () => page.locator('#swap').click());
    await heldUp(page, 3);
    await page.locator('#any-files').setInputFiles({ name: 'notes.txt', mimeType: 'text/plain', buffer: Buffer.from('no dose') });
    await page.locator('#left-out', { hasText: '1' }).waitFor();
    await page.evaluate(() => (globalThis.heldUp = -1));
    await comparing(page, () => page.locator('#cut-off').fill('20'));
    await known(page, 3);
    await settle(page);
    assert.deepEqual(complaints, []);
    await page.context().close();
});
