// Drives the page that compares, opened from disk as a person would.
import assert from 'node:assert/strict';
import { execFile, execFileSync, spawn } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { createInterface } from 'node:readline';
import { after } from 'node:test';
import { fileURLToPath, pathToFileURL } from 'node:url';
import { promisify } from 'node:util';
import { gunzipSync } from 'node:zlib';
import { patience, waited, waitUntil } from '../browser.mjs';

export const { ZARNGI_PAGE: pagePath, ZARNGI: program, ZARNGI_DATA: data } = process.env;

export const run = promisify(execFile);

const python = process.env.ZARNGI_PYTHON ?? '/usr/bin/python3';
const env = { ...process.env, PYTHONDONTWRITEBYTECODE: '1' };
const scriptPath = (name) => fileURLToPath(new URL(name, import.meta.url));

export function makeInputs(folder) {
    execFileSync(python, [scriptPath('inputs.py'), folder], { env });
}

/** A process that holds documents to their schema, and its answers. */
let judge, verdicts;
after(() => judge?.stdin.end());

async function assertKeepsSchema(path) {
    if (!judge) {
        judge = spawn(python, [scriptPath('../../cli/documents.py')], { env, stdio: ['pipe', 'pipe', 'inherit'] });
        verdicts = createInterface({ input: judge.stdout })[Symbol.asyncIterator]();
    }
    judge.stdin.write(`${path}\n`);
    const { value: verdict } = await verdicts.next();
    assert.equal(verdict, 'right');
}

/**
 * The page; `complaints` collects console messages, exceptions, and requests but for its own blobs.
 * @param before runs in the page before its own scripts
 */
export async function openPage(browser, options = {}, before = undefined) {
    const context = await browser.newContext({ viewport: { width: 1400, height: 1000 }, ...options });
    context.setDefaultTimeout(patience);
    const page = await context.newPage();
    if (before) {
        await page.addInitScript(before);
    }
    const url = pathToFileURL(pagePath).href;
    const complaints = [];
    page.on('console', (message) => complaints.push(`console: ${message.text()}`));
    page.on('pageerror', (error) => complaints.push(`exception: ${error}`));
    page.on('request', (request) => {
        if (request.url() !== url && !/^(data|blob):/.test(request.url())) {
            complaints.push(`request: ${request.url()}`);
        }
    });
    await options.prepare?.(page);
    await page.goto(url);
    await page.locator('html[data-state]').waitFor();
    return { page, complaints };
}

/** Does something that leads to another comparison, and waits until that is shown in whole. */
export async function comparing(page, action) {
    await page.evaluate(() => document.getElementById('page')?.setAttribute('data-earlier', ''));
    await action();
    await waitUntil(page, 'the comparison to be shown in whole', () => {
        const { state, drawing } = document.documentElement.dataset;
        const shown = document.querySelector('#page:not([data-earlier])');
        return shown && state === 'complete' && drawing === undefined;
    });
}

/** Drops files and folders as the desktop does. */
export async function drop(page, ...paths) {
    const session = await page.context().newCDPSession(page);
    await page.locator('#drop-area').scrollIntoViewIfNeeded();
    const { x, y } = await page.locator('#drop-area').boundingBox();
    const dragged = { items: [], files: paths, dragOperationsMask: 1 };
    for (const type of ['dragEnter', 'dragOver', 'drop']) {
        await session.send('Input.dispatchDragEvent', { type, x: x + 20, y: y + 20, data: dragged });
    }
    await session.detach();
}

/** ms after which a file that is made, and has not come, is lost. */
const lostAfter = 30_000;

/**
 * What a button saves. Of a thousand files that follow one another Chromium loses about one, which the
 * page says it has made: it is asked for once more.
 */
async function downloadOf(page, id) {
    const coming = page.waitForEvent('download');
    coming.catch(() => {}); // whose time is over while the button is waited for
    await page.locator(`#${id}`).click();
    const lost = page
        .waitForFunction(() => document.getElementById('saved').textContent.endsWith(' is made'))
        .then(() => new Promise((over) => setTimeout(over, lostAfter, null).unref()))
        .catch(() => coming);
    const first = await Promise.race([coming, lost]);
    if (!first) {
        await page.locator(`#${id}`).click();
    }
    return coming;
}

/** The bytes of what a button saves; records and requests are held to their schema. */
export async function saved(page, id) {
    const download = await waited(page, `what #${id} saves`, downloadOf(page, id));
    const path = await download.path();
    if (['save-json', 'save-request'].includes(id)) {
        await assertKeepsSchema(path);
    }
    return { name: download.suggestedFilename(), bytes: readFileSync(path) };
}

/** Header and values of an NRRD file, or all of a NIfTI file, as they were before packing. */
export function mapParts(name, bytes) {
    if (name.endsWith('.nii.gz')) {
        return [gunzipSync(bytes)];
    }
    const end = bytes.indexOf('\n\n') + 2;
    return [bytes.subarray(0, end).toString(), gunzipSync(bytes.subarray(end))];
}

/** What the program writes from the same inputs: its outputs by their endings. */
export async function written(folder, inputs, ...options) {
    const endings = ['.json', '.csv', '.html'];
    const paths = endings.map((ending) => join(folder, `native${ending}`));
    const outputs = ['--json', '--csv', '--report'].flatMap((option, i) => [option, paths[i]]);
    await run(program, ['compare', ...inputs, ...options, ...outputs], { cwd: folder });
    return Object.fromEntries(endings.map((ending, i) => [ending, readFileSync(paths[i], 'utf8')]));
}

/** What a command prints, also where a goal is not met, which its exit status tells. */
async function printed(...command) {
    try {
        return await run(...command);
    } catch (error) {
        if (error.code !== 3) {
            throw error;
        }
        return error;
    }
}

/** The record that the program makes of the same inputs. */
export async function recordByProgram(folder, inputs, ...options) {
    const { stdout } = await printed(program, ['compare', ...inputs, ...options, '--json', '-'], { cwd: folder });
    return JSON.parse(stdout);
}

/** The record that the command in another one makes. */
export async function recordByCommand(folder, { command }) {
    const { stdout } = await printed('sh', ['-c', command.replace(/^zarngi/, '"$0" "$@"') + ' --json -', program], { cwd: folder });
    return JSON.parse(stdout);
}

/** A record without what depends on when, where and by what it was made. */
export function timeless(record) {
    const differing = ['created', 'command', 'program', 'path', 'threads', 'seconds', 'referenceGuessed'];
    // A request names files as seen from where its document lies.
    const areFiles = (key, value) =>
        [value].flat().every((one) => typeof one === 'string') && (key === 'file' || key === 'files');
    // Only a page guesses which dose is the reference.
    const gate = record.gate.filter(({ name }) => name !== 'guessed-reference');
    return JSON.parse(JSON.stringify({ ...record, gate }, (key, value) =>
        differing.includes(key) || key.endsWith('Seconds') || areFiles(key, value) ? undefined : value,
    ));
}

/** Rows of a table for spreadsheets without the columns of times and files' places. */
export function timelessRows(csv) {
    const [head, ...rows] = csv.trim().split('\n').map((line) => line.split(','));
    const kept = head.flatMap((name, i) => (/seconds|reference|evaluation/.test(name) && i < 20 ? [] : [i]));
    return [head, ...rows].map((row) => kept.map((i) => row[i]));
}

export async function criteriaShown(page) {
    return page.locator('#criteria-rows th').allInnerTexts().then((texts) => texts.map((t) => t.trim()));
}
