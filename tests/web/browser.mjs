// Drives a report page in a real browser.
import { mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after } from 'node:test';
import { pathToFileURL } from 'node:url';

const { ZARNGI_WEB_MODULES: modules, ZARNGI_CHROMIUM: executablePath } = process.env;
const require = createRequire(join(modules, 'package.json'));
const { chromium } = require('playwright-core');

/** Milliseconds: what takes seconds here may wait for a machine that is ten times slower. */
export const patience = 300_000;

export function launch() {
    const args = [
        '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
        '--disable-background-networking', '--disable-component-update', '--disable-sync',
    ];
    return chromium.launch({ executablePath, args, timeout: patience });
}

/** A browser and a folder for the tests of a file; both are gone after them. */
export async function workplace(name, start = launch) {
    const place = { folder: mkdtempSync(join(tmpdir(), `zarngi-${name}-`)), browser: await start() };
    after(async () => {
        await place.browser.close();
        rmSync(place.folder, { recursive: true, force: true });
    });
    return place;
}

/** Where a page is, for the message of a test that waited in vain. */
async function whereabouts(page) {
    const answer = page.evaluate(() => {
        const alerts = [...document.querySelectorAll('[role=alert]')].map((alert) => alert.innerText);
        return `state "${document.documentElement.dataset.state}", alerts "${alerts.filter(Boolean).join('; ')}"`;
    });
    const silence = new Promise((done) => setTimeout(done, 10_000, 'it does not answer').unref());
    return Promise.race([answer.catch((error) => String(error)), silence]);
}

/** The end of a wait; where its time is over, the error tells `what` was waited for. */
export async function waited(page, what, wait) {
    try {
        return await wait;
    } catch (error) {
        if (error.name !== 'TimeoutError') {
            throw error;
        }
        throw new Error(`waited in vain for ${what}; the page: ${await whereabouts(page)}`, { cause: error });
    }
}

/** Waits until something holds in the page. To look with each frame would have it draw frames all the time. */
export function waitUntil(page, what, condition, argument) {
    return waited(page, what, page.waitForFunction(condition, argument, { polling: 50 }));
}

/** Opens a file; `complaints` collects console errors, exceptions and requests beyond the file. */
export async function openFile(browser, path, options = {}) {
    const page = await browser.newPage({ viewport: { width: 1500, height: 1000 }, ...options });
    page.setDefaultTimeout(patience);
    const url = pathToFileURL(path).href;
    const complaints = [];
    page.on('console', (message) => {
        if (['error', 'warning'].includes(message.type())) {
            complaints.push(`console: ${message.text()}`);
        }
    });
    page.on('pageerror', (error) => complaints.push(`exception: ${error}`));
    page.on('request', (request) => {
        if (request.url() !== url && !request.url().startsWith('data:')) {
            complaints.push(`request: ${request.url()}`);
        }
    });
    await page.goto(url);
    await waitUntil(page, 'the page to be complete', () =>
        ['complete', 'failed'].includes(document.documentElement.dataset.state),
    );
    return { page, complaints };
}

/** Lets the page draw what was changed. */
export async function settle(page) {
    await page.evaluate(() => new Promise((done) => {
        const wait = () => (document.documentElement.dataset.drawing === undefined ? setTimeout(done) : requestAnimationFrame(wait));
        requestAnimationFrame(() => requestAnimationFrame(wait));
    }));
}

/** What axe-core finds in the page, of moderate weight or more: a rule and its elements in each line. */
export async function barriers(page) {
    await page.evaluate(readFileSync(require.resolve('axe-core/axe.min.js'), 'utf8'));
    const { violations } = await page.evaluate(() => window.axe.run(document, { resultTypes: ['violations'] }));
    const weighty = violations.filter(({ impact }) => ['moderate', 'serious', 'critical'].includes(impact));
    return weighty.map(({ id, nodes }) => `${id}: ${nodes.map(({ target }) => target.join(' ')).join(', ')}`);
}

/** A shown number: "−12 345.6" is -12345.6. */
export function numberOf(text) {
    return Number(text.replace('\u2212', '-').replace(/[\u202f+≥✓✕\s]/g, ''));
}

/** Voxel at the crosshair, as the page tells it. */
export async function crosshair(page) {
    await settle(page);
    return (await page.locator('#cross-voxel').innerText()).split(' ').map(Number);
}

/** The views: the axes of their normal, of their columns and of their rows, and what is up. */
export const views = [
    { name: 'axial', normal: 2, across: 0, down: 1, upwards: false },
    { name: 'coronal', normal: 1, across: 0, down: 2, upwards: true },
    { name: 'sagittal', normal: 0, across: 1, down: 2, upwards: true },
];

/** Where the centre of a voxel is in a view, in shares of its sides, with the whole grid shown. */
function shares({ across, down, upwards }, size, voxel) {
    const fromTop = (voxel[down] + 0.5) / size[down];
    return [(voxel[across] + 0.5) / size[across], upwards ? 1 - fromTop : fromTop];
}

export async function pointOf(page, view, size, voxel) {
    const box = await page.locator(`#${view.name}-slice`).boundingBox();
    const [x, y] = shares(view, size, voxel);
    return { x: box.x + x * box.width, y: box.y + y * box.height };
}

/** Moves the crosshair with the slider of a view and a click into it, as a reader would. */
export async function goTo(page, size, voxel, view = views[0]) {
    await page.locator(`#${view.name}-slider`).fill(String(voxel[view.normal]));
    await settle(page);
    await page.locator(`#${view.name}-slice`).scrollIntoViewIfNeeded();
    const { x, y } = await pointOf(page, view, size, voxel);
    await page.mouse.click(x, y);
    await settle(page);
}

/**
 * Colours of voxels in a view, null where letters and the ruler may cover them; isodoses and
 * crosshair must be off.
 */
export function coloursOf(page, view, size, voxels) {
    return page.evaluate(
        ([name, places]) => {
            const canvas = document.getElementById(`${name}-slice`);
            const { width, height } = canvas;
            const pixels = canvas.getContext('2d').getImageData(0, 0, width, height).data;
            const margin = 24;
            return places.map(([x, y]) => {
                const column = Math.floor(x * width);
                const row = Math.floor(y * height);
                const isFree =
                    Math.min(column, width - column) > margin && Math.min(row, height - row) > margin;
                const at = 4 * (column + width * row);
                return isFree ? [...pixels.slice(at, at + 3)] : null;
            });
        },
        [view.name, voxels.map((voxel) => shares(view, size, voxel))],
    );
}

/** A page that looks at pictures, one for each browser. */
const lookers = new WeakMap();

/**
 * Number of different colours in a picture and the lightness (0 to 255) of its first pixel; `parts`
 * has the numbers of colours in the boxes { x, y, width, height }.
 */
export async function lookAt(browser, png, boxes = []) {
    if (!lookers.has(browser)) {
        lookers.set(browser, browser.newPage());
    }
    const page = await lookers.get(browser);
    return page.evaluate(async ([source, within]) => {
        const image = new Image();
        image.src = source;
        await image.decode();
        const canvas = document.createElement('canvas');
        canvas.width = image.width;
        canvas.height = image.height;
        const context = canvas.getContext('2d', { willReadFrequently: true });
        context.drawImage(image, 0, 0);
        const pixels = (x, y, width, height) =>
            new Uint32Array(context.getImageData(x, y, width, height).data.buffer);
        const whole = pixels(0, 0, canvas.width, canvas.height);
        return {
            colours: new Set(whole).size,
            corner: whole[0] & 255,
            parts: within.map((box) => new Set(pixels(box.x, box.y, box.width, box.height)).size),
        };
    }, [`data:image/png;base64,${png.toString('base64')}`, boxes]);
}
