// The structures of a comparison in the page: list, outlines, dose-volume histograms, paper.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { existsSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, describe, test } from 'node:test';
import { coloursOf, crosshair, goTo, numberOf, openFile, settle, views, workplace } from './browser.mjs';
import { fillTemplate, readPage } from './pageFormat.mjs';
import { sample } from './samplePage.mjs';
import { voxelsOf } from './sampleStructures.mjs';

const { ZARNGI_REPORT_TEMPLATE: templatePath, ZARNGI_PROGRAM: program, ZARNGI_DATA: data } = process.env;
const template = readFileSync(templatePath, 'utf8');
const place = await workplace('structures');
const { folder } = place;


function samplePath(count) {
    const { report, stored } = sample({ structures: count, noise: 1 });
    const path = join(folder, `sample-${count}.html`);
    writeFileSync(path, fillTemplate(template, report, stored));
    return path;
}

function programPath() {
    const path = join(folder, 'head-neck.html');
    const file = (name) => join(data, name);
    execFileSync(program, [
        'compare', file('head_neck_day1.nrrd'), file('head_neck_day2.nrrd'),
        '--structures', file('head_neck_structures.dcm'), '-c', '3%/3mm', '-c', '2%/2mm', '--report', path,
        '--goal', 'PTV1: D95% >= 55 Gy', '--goal', 'CTV: Dmean within 3 %',
    ]);
    return path;
}

const knowsStructures =
    Boolean(program) && execFileSync(program, ['compare', '--help']).includes('--structures');
const pages = [
    { name: 'nine structures', make: () => samplePath(9) },
    {
        name: 'head-neck pair by the program',
        skip: !knowsStructures
            ? 'the program does not read structures'
            : !existsSync(join(data, 'head_neck_structures.dcm')) && `no structures in ${data}`,
        make: programPath,
    },
];

/** How many pixels of a view have nearly this colour. */
function pixelsLike(page, view, colour) {
    return page.evaluate(([name, wanted]) => {
        const canvas = document.getElementById(`${name}-slice`);
        const { data: bytes } = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height);
        const rgb = [1, 3, 5].map((i) => parseInt(wanted.slice(i, i + 2), 16));
        let count = 0;
        for (let i = 0; i < bytes.length; i += 4) {
            count += rgb.every((value, c) => Math.abs(bytes[i + c] - value) < 60) ? 1 : 0;
        }
        return count;
    }, [view.name, colour]);
}

for (const { name, make, skip } of pages) {
    describe(name, { skip }, () => {
        let page, complaints, report, stored, grid;
        const row = (part) => page.locator(`#structure-rows tr[data-part="${part}"]`);
        const cell = (part, key) => row(part).locator(`[data-value="${key}"]`).innerText();
        const names = async () => {
            const shown = await page.locator('#structure-rows th').allInnerTexts();
            return shown.map((text) => text.trim());
        };

        before(async () => {
            const path = make();
            ({ report, stored } = readPage(readFileSync(path, 'utf8')));
            grid = report.grids.reference;
            ({ page, complaints } = await openFile(place.browser, path));
            await page.locator('#option-wholeGrid').check();
            await page.locator('#option-isodoses').uncheck();
            await page.locator('#option-crosshair').uncheck();
            await settle(page);
        });
        after(async () => {
            // Reading the pictures is what this test does, not the page.
            assert.deepEqual(complaints.filter((text) => !text.includes('willReadFrequently')), []);
            await page.close();
        });

        test('the list shows the numbers of the record, for each criterion', async () => {
            for (const [i, criterion] of report.criteria.entries()) {
                await page.locator(`#criterion-${i}`).check();
                await settle(page);
                const parts = [...criterion.structures, criterion.outsideStructures];
                for (const [part, result] of parts.entries()) {
                    assert.equal(numberOf(await cell(part, 'tested')), result.tested);
                    assert.equal(numberOf(await cell(part, 'failed')), result.failed);
                    const rate = await cell(part, 'passRate');
                    if (result.tested === 0) {
                        assert.equal(rate, 'nothing tested');
                    } else {
                        assert.ok(Math.abs(numberOf(rate) - result.passRate) <= 0.005, rate);
                        assert.ok(Math.abs(numberOf(await cell(part, 'mean')) - result.mean) <= 0.0005);
                    }
                }
                for (const [part, structure] of report.structures.list.entries()) {
                    assert.ok((await row(part).innerText()).includes(structure.name));
                    assert.ok(Math.abs(numberOf(await cell(part, 'volume')) - structure.volume) <= 0.00501);
                }
            }
            const notes = await page.locator('#structure-notes').innerText();
            for (const { name: refused, reason } of report.structures.refused ?? []) {
                assert.ok(notes.includes(refused) && notes.includes(reason));
            }
            for (const { notes: own } of report.structures.list) {
                own.forEach((note) => assert.ok(notes.includes(note), note));
            }
            await page.locator('#criterion-0').check();
        });

        test('it sorts by its columns, both ways, and filters', async () => {
            const results = report.criteria[0].structures;
            const head = page.locator('#structure-table [data-sort="tested"]');
            for (const [direction, sign] of [['ascending', 1], ['descending', -1]]) {
                await head.locator('button').click();
                assert.equal(await head.getAttribute('aria-sort'), direction);
                const shown = await page.locator('#structure-rows [data-value="tested"]').allInnerTexts();
                const sorted = shown.map(numberOf).toSorted((a, b) => sign * (a - b));
                assert.deepEqual(shown.map(numberOf), sorted);
            }
            await page.locator('#structure-table [data-sort="name"] button').click();
            const sortedNames = (await names()).slice(0, -1).map((n) => n.toLowerCase());
            assert.deepEqual(sortedNames, sortedNames.toSorted());
            const wanted = report.structures.list[0].name;
            await page.locator('#structure-filter').fill(wanted.toUpperCase());
            assert.ok((await names()).includes(wanted));
            assert.ok((await names()).length < results.length);
            await page.locator('#structure-filter').fill('');
        });

        test('choosing a structure goes to its largest gamma and shows its histogram', async () => {
            const results = report.criteria[0].structures;
            const part = results.reduce((best, r, i) => (r.tested > results[best].tested ? i : best), 0);
            await row(part).locator('button').click();
            const gamma = stored['gamma-0'];
            const voxels = voxelsOf(grid, stored[report.structures.list[part].voxelsElement]);
            const largest = voxels.reduce((a, b) => (gamma[b] > gamma[a] ? b : a));
            const [x, y, z] = await crosshair(page);
            assert.equal(gamma[(z * grid.size[1] + y) * grid.size[0] + x], gamma[largest]);
            const { passed, tested } = results[part];
            const label = await page.locator('#histogram').getAttribute('aria-label');
            assert.ok(label.includes(`${report.structures.list[part].name}: ${passed} of ${tested} `), label);
            const { dvh } = report.structures.list[part];
            for (const [figure, value] of Object.entries({ ...dvh.reference.metrics, Mean: dvh.reference.mean })) {
                const [shown] = await page.locator(`[data-figure="${figure}"] td`).allInnerTexts();
                const isRight = value === null ? shown === '–' : Math.abs(numberOf(shown) - value) <= 0.00501;
                assert.ok(isRight, `${figure}: ${shown}, not ${value}`);
            }
            await row(part).locator('button').click();
            await settle(page);
            assert.ok((await page.locator('#histogram').getAttribute('aria-label')).includes(`${report.criteria[0].label}: `));
        });

        test('goals stand beside the verdict and in a table', async () => {
            const { goals = [] } = report;
            const rows = await page.locator('#goal-rows tr').all();
            assert.equal(rows.length, goals.length);
            assert.equal(await page.locator('#verdict-goals').isVisible(), goals.length > 0);
            for (const [i, goal] of goals.entries()) {
                const [asked, reference, evaluation] = await rows[i].locator('td').allInnerTexts();
                assert.ok(asked.startsWith(goal.figure), asked);
                assert.ok(Math.abs(numberOf(reference) - goal.reference.value) <= 0.00501, reference);
                assert.ok(Math.abs(numberOf(evaluation) - goal.evaluation.value) <= 0.00501, evaluation);
                assert.equal(await rows[i].getAttribute('data-verdict'), goal.verdict);
            }
        });

        test('the table of all figures has targets first', async () => {
            const names = await page.locator('#figure-rows th').allInnerTexts();
            const { list } = report.structures;
            assert.deepEqual([...names].sort(), list.map(({ name }) => name).sort());
            const isTarget = names.map((name) => list.find((s) => s.name === name).type === 'PTV' || /[PCG]TV/.test(name));
            assert.ok(isTarget[0]);
            assert.equal(isTarget.lastIndexOf(true), isTarget.filter(Boolean).length - 1);
            const mean = await page.locator('#figure-rows tr').first().locator('td').nth(2).innerText();
            const first = list.find(({ name }) => name === names[0]);
            assert.ok(Math.abs(numberOf(mean.split('\n')[0]) - first.dvh.reference.mean) <= 0.00501, mean);
        });

        test('outlines lie along the edge of the voxels, and go', async () => {
            await page.locator('#layer-reference').check({ force: true });
            await page.locator('#structures-none').click();
            const { list } = report.structures;
            const small = list.flatMap((s, i) => (s.voxels > 200 && s.voxels < 20000 && s.type !== 'EXTERNAL' ? [i] : []));
            for (const part of small.slice(0, 2)) {
                const runs = stored[list[part].voxelsElement];
                const middle = 4 * Math.floor(runs.length / 8);
                const voxel = [runs[middle + 2], runs[middle + 1], runs[middle]];
                await goTo(page, grid.size, voxel);
                const inside = new Set(voxelsOf(grid, runs));
                const indexOf = ([a, b, c]) => (c * grid.size[1] + b) * grid.size[0] + a;
                const before = {};
                const box = boxOf(grid, runs);
                const slices = Object.fromEntries(views.map((view) => [view.name, sliceOf(view, box, voxel)]));
                for (const view of views) {
                    before[view.name] = await coloursOf(page, view, grid.size, slices[view.name]);
                }
                await row(part).locator('input').check();
                await settle(page);
                for (const view of views) {
                    const colours = await coloursOf(page, view, grid.size, slices[view.name]);
                    const changed = colours.flatMap((c, i) =>
                        c && String(c) !== String(before[view.name][i]) ? [i] : [],
                    );
                    const isNearEdge = (place) => {
                        const around = neighbours(view, place).map((n) => inside.has(indexOf(n)));
                        return around.includes(true) && around.includes(false);
                    };
                    assert.ok(changed.every((i) => isNearEdge(slices[view.name][i])), `${view.name}, ${list[part].name}`);
                }
                await row(part).locator('input').uncheck();
                await settle(page);
                for (const view of views) {
                    assert.deepEqual(await coloursOf(page, view, grid.size, slices[view.name]), before[view.name]);
                }
            }
            assert.ok(small.length > 1);
        });

        test('outlines have the colours of their structures', async () => {
            const { list } = report.structures;
            const part = list.findIndex((s) => s.voxels > 200 && s.voxels < 20000);
            const runs = stored[list[part].voxelsElement];
            const middle = 4 * Math.floor(runs.length / 8);
            await page.locator('#structures-none').click();
            await goTo(page, grid.size, [runs[middle + 2], runs[middle + 1], runs[middle]]);
            await row(part).locator('input').check();
            await settle(page);
            for (const view of views) {
                assert.ok((await pixelsLike(page, view, list[part].colour)) > 10, view.name);
            }
        });

        test('dose-volume histograms are those of the outlined structures', async () => {
            await page.locator('#structures-all').click();
            await settle(page);
            const { list } = report.structures;
            const label = await page.locator('#dvh').getAttribute('aria-label');
            const shown = list.filter((s) => s.dvh);
            shown.forEach((s) => assert.ok(label.includes(s.name)));
            assert.equal(await page.locator('#dvh .u-series').count(), 1 + 2 * shown.length);
            await page.locator('#dvh .u-over').hover({ position: { x: 40, y: 40 } });
            await settle(page);
            const values = await page.locator('#dvh .u-series .u-value').allInnerTexts();
            const bin = Math.round(numberOf(values[0].split(' ')[0]) / report.structures.dvhBinWidth);
            const labels = await page.locator('#dvh .u-series .u-label').allInnerTexts();
            shown.forEach(({ name, dvh }) => {
                const share = 100 * (dvh.reference.curve[bin] ?? 0);
                const place = labels.findIndex((label) => label === `${name}, reference`);
                assert.ok(place > 0, `${name} among ${labels}`);
                assert.ok(Math.abs(numberOf(values[place].split(' ')[0]) - share) <= 0.051);
            });
            await page.locator('#structures-none').click();
            await settle(page);
            assert.equal(await page.locator('#dvh .u-series').count(), 1);
        });

        test('the share above gamma is what the cumulative histogram leaves', async () => {
            await page.locator('#option-gammaVolume').check();
            await settle(page);
            assert.ok((await page.locator('#histogram').textContent()).includes('Voxels above γ'));
            await page.locator('#option-gammaVolume').uncheck();
        });

        test('on paper: one sheet, and the structures after it', async () => {
            const pdf = await page.pdf({ preferCSSPageSize: true });
            const sheets = pdf.toString('latin1').match(/\/Type\s*\/Page\b/g).length;
            assert.ok(sheets >= 2 && sheets <= 3, `${sheets} sheets`);
        });
    });
}

/** First and last voxel of a structure along each axis, and three voxels more. */
function boxOf(grid, runs) {
    const from = [...grid.size];
    const to = [0, 0, 0];
    for (let i = 0; i < runs.length; i += 4) {
        const [z, y, begin, end] = runs.slice(i, i + 4);
        [begin, y, z].forEach((v, a) => (from[a] = Math.min(from[a], v)));
        [end - 1, y, z].forEach((v, a) => (to[a] = Math.max(to[a], v)));
    }
    const margin = 3;
    return {
        from: from.map((v) => Math.max(v - margin, 0)),
        to: to.map((v, a) => Math.min(v + margin, grid.size[a] - 1)),
    };
}

function sliceOf(view, { from, to }, voxel) {
    const places = [];
    for (let a = from[view.across]; a <= to[view.across]; ++a) {
        for (let d = from[view.down]; d <= to[view.down]; ++d) {
            const place = [...voxel];
            place[view.across] = a;
            place[view.down] = d;
            places.push(place);
        }
    }
    return places;
}

/** The voxels around one in a view, and itself. */
function neighbours(view, voxel) {
    const around = [];
    for (const a of [-1, 0, 1]) {
        for (const d of [-1, 0, 1]) {
            const place = [...voxel];
            place[view.across] += a;
            place[view.down] += d;
            around.push(place);
        }
    }
    return around;
}
