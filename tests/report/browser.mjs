// Drives a report page in a real browser.
import { createRequire } from 'node:module';
import { pathToFileURL } from 'node:url';
import { join } from 'node:path';

const { ZARNGI_REPORT_MODULES: modules, ZARNGI_CHROMIUM: executablePath } = process.env;
const { chromium } = createRequire(join(modules, 'package.json'))('playwright-core');

export function launch() {
    const args = [
        '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
        '--disable-background-networking', '--disable-component-update', '--disable-sync',
    ];
    return chromium.launch({ executablePath, args });
}

/** Opens a file; `complaints` collects console errors, exceptions and requests beyond the file. */
export async function openFile(browser, path, options = {}) {
    const page = await browser.newPage({ viewport: { width: 1500, height: 1000 }, ...options });
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
    await page.waitForFunction(() =>
        ['complete', 'failed'].includes(document.documentElement.dataset.state),
    );
    return { page, complaints };
}

/** Lets the page draw what was changed. */
export async function settle(page) {
    await page.evaluate(() => new Promise((done) => {
        requestAnimationFrame(() => requestAnimationFrame(() => setTimeout(done)));
    }));
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

/** Where the centre of a voxel is in the axial view, with the whole grid shown. */
export async function axialPoint(page, size, voxel) {
    const box = await page.locator('#axial-slice').boundingBox();
    return {
        x: box.x + ((voxel[0] + 0.5) / size[0]) * box.width,
        y: box.y + ((voxel[1] + 0.5) / size[1]) * box.height,
    };
}

/** Moves the crosshair with the slider and a click, as a reader would. */
export async function goTo(page, size, voxel) {
    await page.locator('#axial-slider').fill(String(voxel[2]));
    await settle(page);
    const { x, y } = await axialPoint(page, size, voxel);
    await page.mouse.click(x, y);
    await settle(page);
}

/** Colours of voxels in the axial view, by voxel; the overlays must be off. */
export function axialColours(page, size, voxels) {
    return page.evaluate(
        ([[nx, ny], list]) => {
            const canvas = document.getElementById('axial-slice');
            const { width, height } = canvas;
            const pixels = canvas.getContext('2d').getImageData(0, 0, width, height).data;
            return list.map(([i, j]) => {
                const x = Math.floor(((i + 0.5) / nx) * width);
                const y = Math.floor(((j + 0.5) / ny) * height);
                const at = 4 * (x + width * y);
                return [...pixels.slice(at, at + 3)];
            });
        },
        [size, voxels],
    );
}

/** Number of different colours in a picture and the lightness (0 to 255) of its first pixel. */
export async function lookAt(browser, png) {
    const page = await browser.newPage();
    try {
        return await page.evaluate(async (source) => {
            const image = new Image();
            image.src = source;
            await image.decode();
            const canvas = document.createElement('canvas');
            canvas.width = image.width;
            canvas.height = image.height;
            const context = canvas.getContext('2d');
            context.drawImage(image, 0, 0);
            const pixels = new Uint32Array(
                context.getImageData(0, 0, canvas.width, canvas.height).data.buffer,
            );
            return { colours: new Set(pixels).size, corner: pixels[0] & 255 };
        }, `data:image/png;base64,${png.toString('base64')}`);
    } finally {
        await page.close();
    }
}
