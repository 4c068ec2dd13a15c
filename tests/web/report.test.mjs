// The report page in a real browser, on synthetic data and on a comparison by the program.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { existsSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, describe, test } from 'node:test';
import {
    barriers, coloursOf, crosshair, goTo, launch, lookAt, numberOf, openFile, pointOf, settle, views, workplace,
} from './browser.mjs';
import { bandsOf, clustersOf, doseAt, indexOf, indexOfLargest, positionOf, voxelOf } from './expected.mjs';
import { fillTemplate, readPage } from './pageFormat.mjs';
import { sample } from './samplePage.mjs';

const { ZARNGI_REPORT_TEMPLATE: templatePath, ZARNGI_PROGRAM: program, ZARNGI_DATA: data } = process.env;
const template = readFileSync(templatePath, 'utf8');
const place = await workplace('report');
const { folder } = place;
const verdictWords = { pass: 'Pass', investigate: 'Investigate', fail: 'Fail', none: 'No result' };


function write(name, html) {
    const path = join(folder, name);
    writeFileSync(path, html);
    return path;
}

function samplePath(name, options, change = () => {}) {
    const { report, stored } = sample(options);
    change(report, stored);
    return write(name, fillTemplate(template, report, stored));
}

function programPath(name, reference, evaluation, criteria) {
    const path = join(folder, name);
    const asked = criteria.flatMap((c) => ['--criteria', c]);
    execFileSync(program, ['compare', reference, evaluation, ...asked, '--report', path]);
    return path;
}

const programMakesPages =
    Boolean(program) && execFileSync(program, ['compare', '--help']).includes('--report');
const pages = [
    { name: 'one grid', make: () => samplePath('same.html', {}) },
    { name: 'two grids', make: () => samplePath('other.html', { otherGrid: true }) },
    {
        name: 'head-neck pair by the program',
        skip: !programMakesPages
            ? 'the program does not write reports'
            : !existsSync(join(data, 'head_neck_day1.nrrd')) && `no dose files in ${data}`,
        make: () =>
            programPath(
                'head-neck.html',
                join(data, 'head_neck_day1.nrrd'),
                join(data, 'head_neck_day2.nrrd'),
                ['3%/3mm', '2%/2mm'],
            ),
    },
];

// Each has a browser of its own, which mostly waits for frames: they wait together. Pages of one browser
// would take the pointer from one another.
describe('a page', { concurrency: true }, () => pages.forEach(({ name, make, skip }) => {
    describe(name, { skip, concurrency: 1 }, () => {
        let own, page, complaints, report, stored, grid;

        before(async () => {
            const path = make();
            ({ report, stored } = readPage(readFileSync(path, 'utf8')));
            grid = report.grids.reference;
            own = await launch();
            ({ page, complaints } = await openFile(own, path));
            await page.locator('#option-wholeGrid').check();
            await settle(page);
        });
        after(() => own?.close());

        /** Voxels all over the grid, at its ends, about gamma 1 and where the evaluation ends. */
        const someVoxels = () => {
            const gamma = stored['gamma-0'];
            const count = gamma.length;
            const chosen = [0, 0.21, 0.43, 0.5, 0.67, 1].map((f) => Math.floor(f * (count - 1)));
            const failing = [];
            gamma.forEach((g, i) => g > 1000 && failing.push(i));
            chosen.push(indexOfLargest(stored.reference), failing[0], failing[failing.length >> 1]);
            chosen.push(gamma.findIndex((g) => g > 950 && g <= 1000));
            chosen.push(gamma.findIndex((g) => g > 1000 && g < 1050));
            const { size, spacing, origin } = report.grids.evaluation;
            const isOuter = (mm, a) => mm < origin[a] || mm > origin[a] + (size[a] - 1) * spacing[a];
            for (let i = 0; chosen.length < 16 && i < count; i += 97) {
                const voxel = voxelOf(grid, i);
                if (!Number.isNaN(evaluationAt(voxel)) && positionOf(grid, voxel).some(isOuter)) {
                    chosen.push(i);
                }
            }
            return chosen.filter((i) => i >= 0).map((i) => voxelOf(grid, i));
        };

        const evaluationAt = (voxel) =>
            doseAt(report.grids.evaluation, stored.evaluation, positionOf(grid, voxel));

        /** Holds a column of the table of values against the maps. */
        const checkValues = async (column, voxel) => {
            const cells = await page.locator(`#readout-rows [id^="${column}-"]`).evaluateAll((all) =>
                all.map((e) => [e.id, { text: e.innerText, judged: e.className }]));
            const shownAs = (row) => Object.fromEntries(cells)[`${column}-${row}`];
            const text = (row) => shownAs(row).text;
            const index = indexOf(grid, voxel);
            const unit = 10 ** report.volumes[0].decimals;
            assert.deepEqual(text('voxel').split(' ').map(Number), voxel);
            for (const [a, axis] of ['x', 'y', 'z'].entries()) {
                const mm = positionOf(grid, voxel)[a];
                assert.ok(Math.abs(numberOf(text(axis)) - mm) <= 0.05 + 1e-9, `${axis} at ${voxel}`);
            }
            assert.equal(numberOf(text('reference')), stored.reference[index] / unit);
            const evaluation = evaluationAt(voxel);
            if (Number.isNaN(evaluation)) {
                assert.equal(text('evaluation'), '\u2013');
            } else {
                const shown = numberOf(text('evaluation')) * unit;
                assert.ok(Math.abs(shown - evaluation) <= 0.501, `evaluation at ${voxel}`);
                const difference = numberOf(text('difference')) * unit;
                assert.ok(Math.abs(difference - (evaluation - stored.reference[index])) <= 0.501);
            }
            for (const [c, { gammaVolume }] of report.criteria.entries()) {
                const gamma = stored[gammaVolume][index];
                const { text: shown, judged } = shownAs(`gamma-${c}`);
                if (gamma < 0) {
                    assert.equal(shown, 'not tested');
                } else {
                    assert.equal(numberOf(shown), gamma / 1000);
                    assert.equal(judged, gamma > 1000 ? 'failed' : 'passed');
                }
            }
        };

        test('numbers equal the record', async () => {
            const rows = await page.locator('#criteria-rows tr').all();
            assert.equal(rows.length, report.criteria.length);
            for (const [i, criterion] of report.criteria.entries()) {
                const shown = async (value) => rows[i].locator(`[data-value="${value}"]`).innerText();
                assert.equal((await rows[i].locator('th').innerText()).trim(), criterion.label);
                assert.equal(numberOf(await shown('tested')), criterion.tested);
                assert.equal(numberOf(await shown('failed')), criterion.failed);
                assert.equal(await shown('passRate'), criterion.passRate.toFixed(2));
                for (const value of ['mean', 'p95', 'p99', 'max']) {
                    assert.equal(await shown(value), criterion[value].toFixed(3), value);
                }
                assert.ok((await shown('verdict')).includes(verdictWords[criterion.verdict]));
            }
            const files = await page.locator('#files').innerText();
            assert.ok(files.includes(report.files.reference.name));
            assert.ok(files.includes(report.files.evaluation.name));
            assert.equal(await page.locator('#warnings').isVisible(), (report.warnings ?? []).length > 0);
        });

        test('a criterion can be chosen', async () => {
            for (const [i, criterion] of [...report.criteria.entries()].reverse()) {
                await page.locator(`#criterion-${i}`).check();
                await settle(page);
                assert.equal(await page.locator('#verdict-rate').innerText(), criterion.passRate.toFixed(2));
                const counts = (await page.locator('#verdict-counts').innerText()).replace(/\u202f/g, '');
                assert.ok(counts.startsWith(`${criterion.passed} of ${criterion.tested} `));
                assert.ok((await page.locator('#histogram-heading').innerText()).includes(criterion.label));
                const tested = await page.locator('#band-rows td:nth-of-type(1)').allInnerTexts();
                const failed = await page.locator('#band-rows td:nth-of-type(2)').allInnerTexts();
                const unit = 10 ** report.volumes[0].decimals;
                const bands = bandsOf(criterion, stored.reference, stored[criterion.gammaVolume], unit);
                const expected = [...bands.entries()].sort((a, b) => a[0] - b[0]).map((entry) => entry[1]);
                assert.deepEqual(tested.map(numberOf), expected.map((band) => band.tested));
                assert.deepEqual(failed.map(numberOf), expected.map((band) => band.failed));
            }
        });

        test('values at the crosshair and under the pointer equal the maps', async () => {
            const voxels = someVoxels();
            for (const [n, voxel] of voxels.entries()) {
                await goTo(page, grid.size, voxel, views[n % views.length]);
                await checkValues('cross', voxel);
                await checkValues('pointer', voxel);
            }
            const here = voxels[1];
            await goTo(page, grid.size, here);
            const elsewhere = [grid.size[0] - 1 - here[0], grid.size[1] - 1 - here[1], here[2]];
            const { x, y } = await pointOf(page, views[0], grid.size, elsewhere);
            await page.mouse.move(x, y);
            await settle(page);
            await checkValues('pointer', elsewhere);
            await checkValues('cross', here);
        });

        test('colours of the gamma layer tell passed from failed', async () => {
            for (const option of ['isodoses', 'crosshair']) {
                await page.locator(`#option-${option}`).uncheck();
            }
            const gamma = stored['gamma-0'];
            const at = voxelOf(grid, indexOfLargest(gamma));
            for (const view of views) {
                await page.locator(`#${view.name}-slider`).fill(String(at[view.normal]));
            }
            await settle(page);
            for (const view of views) {
                const shown = [];
                for (let a = 0; a < grid.size[view.across]; ++a) {
                    for (let d = 0; d < grid.size[view.down]; ++d) {
                        const voxel = [...at];
                        voxel[view.across] = a;
                        voxel[view.down] = d;
                        shown.push(voxel);
                    }
                }
                const colours = await coloursOf(page, view, grid.size, shown);
                const kinds = { passed: 0, failed: 0, untested: 0 };
                shown.forEach((voxel, n) => {
                    if (colours[n]) {
                        const [red, , blue] = colours[n];
                        const value = gamma[indexOf(grid, voxel)];
                        const kind = value < 0 ? 'untested' : value > 1000 ? 'failed' : 'passed';
                        const seen = red > blue + 20 ? 'failed' : blue > red + 20 ? 'passed' : 'untested';
                        assert.equal(seen, kind, `${view.name}: voxel ${voxel}, gamma ${value / 1000}`);
                        kinds[kind] += 1;
                    }
                });
                assert.ok(kinds.failed > 0 && kinds.passed > 0 && kinds.untested > 0, JSON.stringify(kinds));
            }
            for (const option of ['isodoses', 'crosshair']) {
                await page.locator(`#option-${option}`).check();
            }
        });

        test('slider, wheel and keys move the views', async () => {
            const start = grid.size.map((n) => Math.floor(n / 2));
            await goTo(page, grid.size, start);
            const axial = page.locator('#axial-slice');
            const before = await axial.screenshot();
            await page.locator('#axial-slider').focus();
            await page.keyboard.press('ArrowRight');
            assert.deepEqual(await crosshair(page), [start[0], start[1], start[2] + 1]);
            assert.ok(!before.equals(await axial.screenshot()), 'another slice looks the same');
            const place = grid.origin[2] + (start[2] + 1) * grid.spacing[2];
            const caption = await page.locator('#axial-position').innerText();
            assert.ok(Math.abs(numberOf(caption.match(/z = (\S+) mm/)[1]) - place) <= 0.05 + 1e-9, caption);

            const moves = [
                { view: 'axial', key: 'ArrowRight', step: [1, 0, 0] },
                { view: 'axial', key: 'ArrowDown', step: [0, 1, 0] },
                { view: 'axial', key: 'PageDown', step: [0, 0, -1] },
                { view: 'coronal', key: 'ArrowUp', step: [0, 0, 1] },
                { view: 'coronal', key: 'PageUp', step: [0, 1, 0] },
                { view: 'sagittal', key: 'ArrowLeft', step: [0, -1, 0] },
                { view: 'sagittal', key: 'Shift+PageUp', step: [5, 0, 0] },
                { view: 'axial', wheel: 100, step: [0, 0, -1] },
                { view: 'coronal', wheel: -100, step: [0, -1, 0] },
            ];
            for (const { view, key, wheel, step } of moves) {
                const from = await crosshair(page);
                if (key) {
                    await page.locator(`#${view}-slice`).focus();
                    await page.keyboard.press(key);
                } else {
                    await page.locator(`#${view}-slice`).hover();
                    await page.mouse.wheel(0, wheel);
                    await page.waitForTimeout(100);
                }
                const wanted = from.map((v, a) => v + step[a]);
                assert.deepEqual(await crosshair(page), wanted, `${view} ${key ?? wheel}`);
            }
            await page.locator('#sagittal-slice').focus();
            await page.keyboard.press('End');
            await page.keyboard.press('PageUp');
            assert.equal((await crosshair(page))[0], grid.size[0] - 1, 'stops at the last slice');
        });

        test('clusters are those of the map, and a click goes there', async () => {
            await page.locator('#criterion-0').check();
            await settle(page);
            const gamma = stored['gamma-0'];
            const expected = clustersOf(grid, gamma).slice(0, 10);
            const rows = await page.locator('#cluster-rows tr').all();
            assert.equal(rows.length, expected.length);
            const voxelVolume = grid.spacing.reduce((a, b) => a * b) / 1000;
            for (const [i, { voxels, peak }] of expected.entries()) {
                const cells = (await rows[i].locator('td').allInnerTexts()).map(numberOf);
                assert.equal(cells[0], voxels);
                assert.ok(Math.abs(cells[1] - voxels * voxelVolume) <= 0.005 + 1e-9);
                assert.ok(Math.abs(cells[6] - gamma[peak] / 1000) <= 0.005 + 1e-9);
                await rows[i].locator(i % 2 ? 'button' : 'td:nth-of-type(2)').click();
                const at = await crosshair(page);
                assert.equal(indexOf(grid, at), peak, `cluster ${i + 1}`);
                positionOf(grid, at).forEach((mm, a) => {
                    assert.ok(Math.abs(cells[3 + a] - mm) <= 0.05 + 1e-9);
                });
            }
        });

        test('profiles and histogram tell the values of the maps', async () => {
            await goTo(page, grid.size, grid.size.map((n) => Math.floor(n / 2)));
            const chart = page.locator('#profile-y .u-over');
            await chart.scrollIntoViewIfNeeded();
            const box = await chart.boundingBox();
            const target = Math.floor(grid.size[1] / 3);
            await page.mouse.click(box.x + ((target + 0.5) / grid.size[1]) * box.width, box.y + 50);
            const at = await crosshair(page);
            assert.equal(at[1], target);
            const legend = await page.locator('#profile-y .u-legend .u-value').allInnerTexts();
            const unit = 10 ** report.volumes[0].decimals;
            assert.equal(numberOf(legend[1]), stored.reference[indexOf(grid, at)] / unit);

            const { counts, binWidth } = report.criteria[0].histogram;
            await page.locator('#histogram').scrollIntoViewIfNeeded();
            const plot = await page.locator('#histogram .u-over').boundingBox();
            const whole = report.criteria[0].tested;
            // The axis ends with the last voxel, but not before gamma 1.2.
            const bins = Math.max(counts.findLastIndex((c) => c > 0) + 1, Math.ceil(1.2 / binWidth));
            for (const bin of [0, 3, Math.round(1 / binWidth)]) {
                const x = plot.x + ((bin + 0.8) / bins) * plot.width;
                await page.mouse.move(x, plot.y + 40);
                await settle(page);
                const texts = await page.locator('#histogram .u-legend .u-value').allInnerTexts();
                assert.equal(numberOf(texts[bin * binWidth < 1 ? 1 : 2]), counts[bin], `bin ${bin}`);
                const below = counts.slice(0, bin + 1).reduce((a, b) => a + b, 0);
                assert.equal(texts[3], `${((100 * below) / whole).toFixed(2)} %`);
            }
        });

        test('layers and windows change the picture', async () => {
            const axial = page.locator('#axial-slice');
            const pictures = new Set();
            await page.locator('#cluster-rows button').first().click();
            for (const layer of ['reference', 'evaluation', 'difference', 'gamma']) {
                await page.locator(`#layers label:has(#layer-${layer})`).click();
                await settle(page);
                for (const preset of [1, 3]) {
                    await page.locator('#window-preset').selectOption({ index: preset });
                    await settle(page);
                    pictures.add((await axial.screenshot()).toString('base64'));
                }
            }
            assert.equal(pictures.size, 8);
            await page.locator('#window-high').fill('0.5');
            await page.locator('#window-high').press('Enter');
            await settle(page);
            assert.equal(await page.locator('#window-high').inputValue(), '5', 'gamma 1 stays in the scale');
            await page.keyboard.press('Escape');
            await axial.focus();
            await page.keyboard.press('1');
            await settle(page);
            assert.ok(await page.locator('#layer-reference').isChecked());
        });

        test('both themes are drawn', async () => {
            const pictures = {};
            for (const theme of ['light', 'dark']) {
                await page.emulateMedia({ colorScheme: theme });
                await settle(page);
                await page.locator('#axial-slice').scrollIntoViewIfNeeded();
                const boxes = await Promise.all(views.map(({ name: view }) => page.locator(`#${view}-slice`).boundingBox()));
                const { height } = page.viewportSize();
                assert.ok(boxes.every((box) => box.y >= 0 && box.y + box.height <= height), 'all slices are in view');
                pictures[theme] = await lookAt(own, await page.screenshot(), boxes);
                const { colours, parts } = pictures[theme];
                assert.ok(colours > 200, `${colours} colours`);
                assert.ok(parts.every((count) => count > 30), `${parts} colours in the slices`);
                assert.deepEqual(await barriers(page), [], theme);
            }
            assert.ok(pictures.light.corner > 200 && pictures.dark.corner < 60);
            await page.locator('#theme-toggle').click();
            await settle(page);
            assert.ok((await lookAt(own, await page.screenshot())).corner > 200);
        });

        test('prints on one sheet and comes back', async () => {
            const before = await page.locator('#axial-slice').boundingBox();
            const pdf = await page.pdf({ preferCSSPageSize: true });
            assert.equal(pdf.toString('latin1').match(/\/Type\s*\/Page\b/g).length, 1);
            await settle(page);
            assert.equal(await page.locator('html.printing').count(), 0);
            assert.equal((await page.locator('#axial-slice').boundingBox()).width, before.width);
        });

        test('nothing was complained about, nothing was asked of the network', () => {
            assert.deepEqual(complaints, []);
        });
    });
}));

test('ten criteria still print on one sheet', async () => {
    const path = samplePath('many.html', {}, (report) => {
        const first = report.criteria[0];
        report.criteria = Array.from({ length: 10 }, (_, i) => ({ ...first, label: `${i + 1}%/3mm` }));
    });
    const { page } = await openFile(place.browser, path);
    const pdf = await page.pdf({ preferCSSPageSize: true });
    assert.equal(pdf.toString('latin1').match(/\/Type\s*\/Page\b/g).length, 1);
    await page.close();
});

describe('unusual comparisons open without complaint', () => {
    const nothingTested = (report, stored) => {
        report.criteria.forEach((c) => {
            stored[c.gammaVolume].fill(-1);
            Object.assign(c, { tested: 0, passed: 0, failed: 0, passRate: null, verdict: 'none' });
            Object.assign(c, { mean: null, p95: null, p99: null, max: null });
            c.histogram.counts.fill(0);
        });
    };
    const relative = (report) => {
        delete report.orientation;
        report.doseUnit = '%';
        report.volumes.filter((v) => v.kind === 'dose').forEach((v) => { v.decimals = -1; });
    };
    const allPassed = (report, stored) => {
        const c = report.criteria[0];
        stored[c.gammaVolume] = stored[c.gammaVolume].map((g) => Math.min(g, 1000));
        Object.assign(c, { passed: c.tested, failed: 0, passRate: 100, verdict: 'pass', max: 1 });
    };
    const notFinite = (_, stored) => {
        stored.evaluation.fill(-32768, 0, 5000);
    };
    const cases = [
        { name: 'one slice', options: { size: [40, 30, 1] }, sees: ['#axial-position', /1 \/ 1$/] },
        { name: 'one row', options: { size: [40, 1, 1] }, sees: ['#coronal-position', /1 \/ 1$/] },
        { name: 'nothing tested', change: nothingTested, sees: ['#verdict-text', /No voxel lies above/] },
        { name: 'no orientation, relative doses', change: relative, sees: ['#readout-rows', /Reference\s+\d+0\s/] },
        { name: 'all passed', change: allPassed, sees: ['#cluster-note', /No voxel failed/] },
        { name: 'doses that are not numbers', change: notFinite, sees: ['#verdict-chip', /Pass/] },
    ];
    for (const { name, options = {}, change, sees: [selector, text] } of cases) {
        test(name, async () => {
            const { page, complaints } = await openFile(place.browser, samplePath(`${name}.html`, options, change));
            assert.equal(await page.locator('[role="alert"]').count(), 0);
            assert.match(await page.locator(selector).innerText(), text);
            assert.ok(!(await page.locator('#page').innerText()).match(/NaN|undefined|Infinity|null/));
            for (const layer of ['1', '2', '3', '4']) {
                await page.keyboard.press(layer);
                await settle(page);
            }
            await page.locator('#criterion-1').check();
            await settle(page);
            assert.deepEqual(complaints, []);
            await page.close();
        });
    }
});

test('a rate is not rounded across a limit', async () => {
    const cases = [
        { passRate: 94.9996, verdict: 'investigate', shown: '94.9996' },
        { passRate: 99.99991, verdict: 'pass', shown: '99.9999' },
        { passRate: 89.996, verdict: 'fail', shown: '89.996' },
        { passRate: 95, verdict: 'pass', shown: '95.00' },
        { passRate: null, verdict: 'none', shown: '\u2013' },
    ];
    const path = samplePath('rates.html', {}, (report) => {
        report.criteria = cases.map(({ passRate, verdict }) => ({ ...report.criteria[0], passRate, verdict }));
    });
    const { page } = await openFile(place.browser, path);
    const shown = await page.locator('[data-value="passRate"]').allInnerTexts();
    assert.deepEqual(shown, cases.map((c) => c.shown));
    await page.close();
});

test('the page tells when its maps and its numbers disagree', async () => {
    const path = samplePath('disagree.html', {}, (report) => {
        report.criteria[0].failed += 1;
    });
    const { page } = await openFile(place.browser, path);
    assert.match(await page.locator('#warnings').innerText(), /3%\/3mm: the gamma map in this page counts/);
    await page.close();
});

describe('pages that cannot be shown say why', { concurrency: true }, () => {
    const faults = [
        { name: 'empty template', html: () => template, message: /holds no data/ },
        {
            name: 'later format',
            path: () => samplePath('later.html', {}, (report) => { report.formatVersion = 2; }),
            message: /kind this page does not know/,
        },
        {
            name: 'volume of the wrong size',
            path: () => samplePath('size.html', {}, (_, stored) => {
                stored.evaluation = stored.evaluation.slice(1);
            }),
            message: /"evaluation" does not fit its grid/,
        },
        {
            name: 'missing volume',
            path: () => samplePath('missing.html', {}, (report) => {
                report.volumes.pop();
                report.criteria.shift();
            }),
            message: /"gamma-1" is missing/,
        },
    ];
    for (const { name, html, path, message } of faults) {
        test(name, async () => {
            const file = path ? path() : write('fault.html', html());
            const { page } = await openFile(place.browser, file);
            assert.match(await page.locator('[role="alert"]').innerText(), message);
            await page.close();
        });
    }
});

test('two million noisy voxels stay under 15 MB', async () => {
    const path = samplePath('large.html', { size: [160, 125, 100], noise: 2 });
    assert.ok(readFileSync(path).length < 15e6);
    const { page, complaints } = await openFile(place.browser, path);
    assert.equal(await page.locator('html').getAttribute('data-state'), 'complete');
    assert.deepEqual(complaints, []);
    await page.close();
});
