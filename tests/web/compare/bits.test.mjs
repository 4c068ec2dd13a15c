// All measured doses: the gamma maps that the page saves are those of the program, bit by bit, and so
// is the record. The page is opened from disk once for each pair of files.
import assert from 'node:assert/strict';
import { execFile } from 'node:child_process';
import { createHash } from 'node:crypto';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { promisify } from 'node:util';
import { workplace } from '../browser.mjs';
import { comparing, data, mapParts, openPage, program, saved, timeless } from './comparing.mjs';

const place = await workplace('bits');
const { folder } = place;


// Tested voxels and pass rate of each criterion, from an independent program. The page has no
// pass-rate mode: the row of that mode is held to the rate of its map.
const pairs = [
    {
        name: 'head and neck on two days, with structures',
        files: ['head_neck_day1.nrrd', 'head_neck_day2.nrrd'],
        structures: 'head_neck_structures.dcm',
        runs: [
            {
                criteria: {
                    '3%/3mm': [88129, 90.318741],
                    '2%/2mm': [88129, 73.209724],
                    '3%L/3mm': [88129, 81.407936],
                    '3%/2mm': [88129, 77.773491],
                },
            },
            { criteria: { '3%/3mm': [88129, 96.885246] }, options: ['--nearest'] },
            { criteria: { '1%/1mm': [88129, 51.881901] }, options: ['--max-gamma', '10'] },
        ],
    },
    {
        name: 'opposed proton fields',
        files: ['proton_ramp_beam1.dcm', 'proton_ramp_beam2.dcm'],
        runs: [{ criteria: { '3%/3mm': [273690, 9.872849] }, options: ['--max-gamma', '2'] }],
    },
    {
        name: 'a plan and itself',
        files: ['proton_ramp_plan.dcm', 'proton_ramp_plan.dcm'],
        runs: [{ criteria: { '2%/2mm': [381619, 100] } }],
    },
    {
        name: 'a measured array and the planned plane',
        files: ['arccheck_measured.txt', 'arccheck_planned.snc'],
        runs: [
            {
                criteria: {
                    '3%/3mm': [970, 99.896904],
                    '2%/2mm': [970, 98.041237],
                    '3%/2mm': [970, 99.381447],
                    '3%L/3mm': [970, 97.216492],
                    '1%/1mm': [970, 84.123711],
                },
            },
        ],
    },
];

const sha256 = (bytes) => createHash('sha256').update(bytes).digest('hex');

/** The header of a saved map, and the digest of its floats. */
function told(name, bytes) {
    const [header, values] = mapParts(name, bytes);
    return { header, values: values.length, sha256: sha256(values) };
}

/** What the program writes: its record, and its maps in the order of the criteria. */
async function byProgram(id, { files, structures }, { criteria, options = [] }) {
    const map = join(folder, `${id}.nrrd`);
    const json = join(folder, `${id}.json`);
    const labels = Object.keys(criteria);
    await promisify(execFile)(program, [
        'compare', ...files, ...labels.flatMap((label) => ['-c', label]), ...options,
        ...(structures ? ['--structures', structures] : []), '--gamma-map', map, '--json', json,
    ], { cwd: data });
    const nameOf = (label) =>
        labels.length === 1 ? map : map.replace('.nrrd', `-${label.replace(/%(L?)\//, (_, local) => `${local || 'G'}-`)}.nrrd`);
    return {
        record: JSON.parse(readFileSync(json, 'utf8')),
        maps: labels.map((label) => told(map, readFileSync(nameOf(label)))),
    };
}

/** All at once: what is asked meanwhile would be compared as well where a machine is slow. */
async function ask(page, { criteria, options = [] }) {
    const asked = {
        criteria: Object.keys(criteria).join('\n'),
        isNearest: options.includes('--nearest'),
        maxGamma: options[0] === '--max-gamma' ? options[1] : '',
    };
    await page.evaluate(({ criteria, isNearest, maxGamma }) => {
        const type = (id, text) => {
            const field = document.getElementById(id);
            field.value = text;
            field.dispatchEvent(new Event('input', { bubbles: true }));
            field.dispatchEvent(new Event('change', { bubbles: true }));
        };
        type('criteria', criteria);
        type('max-gamma', maxGamma);
        const nearest = document.getElementById('nearest');
        if (nearest.checked !== isNearest) {
            nearest.click();
        }
    }, asked);
}

async function give(page, { files, structures }) {
    const [reference, evaluation] = files.map((name) => join(data, name));
    if (structures) {
        await page.locator('#structures-file').setInputFiles(join(data, structures));
    }
    await page.locator('#reference-file').setInputFiles(reference);
    await page.locator('#evaluation-file').setInputFiles(evaluation);
}

async function byPage(page, count) {
    const record = JSON.parse((await saved(page, 'save-json')).bytes);
    const maps = [];
    for (let i = 0; i < count; ++i) {
        await page.locator(`#criterion-${i}`).check();
        const { name, bytes } = await saved(page, 'save-map');
        maps.push(told(name, bytes));
    }
    return { record, maps };
}

for (const [number, pair] of pairs.entries()) {
    test(`${pair.name}: the maps of the page are those of the program`, async () => {
        const natives = pair.runs.map((run, i) => byProgram(`${number}-${i}`, pair, run));
        const { page, complaints } = await openPage(place.browser);
        for (const [i, run] of pair.runs.entries()) {
            await comparing(page, async () => {
                await ask(page, run);
                await (i === 0 ? give(page, pair) : undefined);
            });
            const figures = Object.values(run.criteria);
            const { record, maps } = await byPage(page, figures.length);
            const native = await natives[i];
            assert.deepEqual(maps, native.maps);
            assert.deepEqual(timeless(record), timeless(native.record));
            const given = record.criteria.map((c) => [c.tested, c.passRate.toFixed(6)]);
            assert.deepEqual(given, figures.map(([tested, rate]) => [tested, rate.toFixed(6)]));
        }
        assert.deepEqual(complaints, []);
        await page.context().close();
    });
}
