// What explains the failures, and pass rates by criterion, on pages that the program writes.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, describe, test } from 'node:test';
import { numberOf, openFile, settle, views, workplace } from './browser.mjs';
import { voxelOf } from './expected.mjs';
import { readPage } from './pageFormat.mjs';

const { ZARNGI_PROGRAM: program } = process.env;
const skip = !program && 'there is no program';
const place = await workplace('explanation');
const { folder } = place;
const size = [36, 32, 30];
const spacing = [2, 2, 2];


const at = (axis, index) => (index - (size[axis] - 1) / 2) * spacing[axis];

/** A smooth dose; `shift` and `factor` make an evaluation equal to the one without. */
function dose([x, y, z], { shift = [0, 0, 0], factor = 1, endless = false } = {}) {
    const along = endless ? 0 : ((z + shift[2]) / 14) ** 4;
    return (50 / factor) * Math.exp(-(((x + shift[0]) / 18) ** 4) - ((y + shift[1]) / 16) ** 4 - along);
}

/** A MetaImage of values at positions. */
function volume(name, value, slices = size[2]) {
    const values = new Float32Array(size[0] * size[1] * slices);
    let next = 0;
    for (let k = 0; k < slices; ++k) {
        for (let j = 0; j < size[1]; ++j) {
            for (let i = 0; i < size[0]; ++i) {
                values[next++] = value([at(0, i), at(1, j), slices === 1 ? 0 : at(2, k)]);
            }
        }
    }
    const origin = [at(0, 0), at(1, 0), slices === 1 ? 0 : at(2, 0)];
    const head = [
        'ObjectType = Image', 'NDims = 3', 'BinaryData = True', 'BinaryDataByteOrderMSB = False',
        `Offset = ${origin.join(' ')}`, `ElementSpacing = ${spacing.join(' ')}`,
        `DimSize = ${size[0]} ${size[1]} ${slices}`, 'ElementType = MET_FLOAT', 'ElementDataFile = LOCAL\n',
    ];
    const path = join(folder, name);
    writeFileSync(path, Buffer.concat([Buffer.from(head.join('\n')), Buffer.from(values.buffer)]));
    return path;
}

/** A table of doses in a plane, x to the right and y up. */
function plane(name, options) {
    const [nx, ny] = size;
    const across = Array.from({ length: nx }, (_, i) => at(0, i));
    const rows = Array.from({ length: ny }, (_, j) => at(1, ny - 1 - j)).map((y) =>
        [y, ...across.map((x) => dose([x, y, 0], options))].join('\t'));
    const path = join(folder, name);
    writeFileSync(path, `${['dose in Gy, mm', ['', ...across].join('\t'), ...rows].join('\n')}\n`);
    return path;
}

async function open(reference, evaluation, ...options) {
    const [html, json] = ['page.html', 'record.json'].map((name) => join(folder, name));
    execFileSync(program, ['compare', reference, evaluation, ...options, '--report', html, '--json', json]);
    const { report, stored } = readPage(readFileSync(html, 'utf8'));
    return { record: JSON.parse(readFileSync(json)), report, stored, ...(await openFile(place.browser, html)) };
}

const plainText = (text) => text.replaceAll('\u00a0', ' ');

/** The arrows as they are drawn: where their tips and the letters at the ends of axes are, from the middle. */
function arrowsOf(page) {
    return page.locator('#explanation-arrows figure').evaluateAll((figures) => figures.map((figure) => {
        const number = (element, name) => Number(element.getAttribute(name));
        const tip = figure.querySelector('polygon')?.getAttribute('points').split(' ')[0].split(',').map(Number);
        const ends = [...figure.querySelectorAll('text')].map((t) => [t.textContent, [number(t, 'x'), number(t, 'y')]]);
        return {
            name: figure.querySelector('figcaption').textContent,
            title: figure.querySelector('title').textContent,
            tip: tip ?? [0, 0],
            ends: Object.fromEntries(ends),
            radius: number(figure.querySelector('circle.dta'), 'r'),
        };
    }));
}

const patient = [['R', 'L'], ['A', 'P'], ['I', 'S']];
const inPlane = [['\u2212x', '+x'], ['\u2212y', '+y']];
/** The axes of the views, and the ends of these on the left and on top. */
const anatomical = [
    { name: 'Axial', axes: [0, 1], letters: patient, left: 'R', top: 'A' },
    { name: 'Coronal', axes: [0, 2], letters: patient, left: 'R', top: 'S' },
    { name: 'Sagittal', axes: [1, 2], letters: patient, left: 'A', top: 'S' },
];
const flat = [{ name: 'Plane', axes: [0, 1], letters: inPlane, left: '\u2212x', top: '+y' }];

/** Arrows lead to the letters of the sides to which the shift leads, and the circle is the DTA. */
async function checkArrows(page, record, expected) {
    const { shift } = record.explanation.best;
    const { distance } = record.criteria[0];
    const arrows = await arrowsOf(page);
    assert.deepEqual(arrows.map(({ name }) => name), expected.map(({ name }) => name));
    for (const [i, { name, axes, letters, left, top }] of expected.entries()) {
        const { tip, ends, radius, title } = arrows[i];
        assert.ok(ends[left][0] < -50 && ends[top][1] < -50, `${name}: ${JSON.stringify(ends)}`);
        for (const axis of axes) {
            const [from, to] = letters[axis].map((letter) => ends[letter]);
            const line = [to[0] - from[0], to[1] - from[1]];
            const along = (tip[0] * line[0] + tip[1] * line[1]) / Math.hypot(...line);
            const wanted = (shift[axis] / distance) * radius;
            // What is shorter than two pixels is drawn as a dot.
            assert.ok(Math.abs(along - wanted) < (tip[0] || tip[1] ? 0.7 : 2.8), `${name}: ${along}, not ${wanted}`);
            const millimetres = numberOf(title.match(new RegExp(`${'xyz'[axis]} (\\S+)\u00a0mm`))[1]);
            assert.ok(Math.abs(millimetres - shift[axis]) < 0.0501, title);
        }
    }
}

/** Each shown number is that of the record, as far as its digits go. */
async function checkNumbers(page, { explanation, criteria }) {
    const near = (text, value, decimals) =>
        assert.ok(Math.abs(numberOf(text) - value) <= 0.5001 * 10 ** -decimals, `${text} is not ${value}`);
    const { best, shiftAlone, factorAlone, within } = explanation;
    assert.equal(explanation.criterion, criteria[0].label);
    assert.equal(await page.locator('#explanation-criterion').innerText(), explanation.criterion);
    assert.equal(plainText(await page.locator('#explanation-sentence').innerText()), explanation.sentence);
    assert.equal(numberOf((await page.locator('#explanation-tested').innerText()).replace(/[^\d]/g, '')), explanation.tested);
    const rows = await page.locator('#explanation-rows tr').evaluateAll((all) =>
        all.map((row) => [...row.cells].map((cell) => cell.innerText)));
    const changes = [null, best, shiftAlone, factorAlone];
    assert.equal(rows.length, changes.length);
    for (const [i, change] of changes.entries()) {
        const [, direction, length, factor, failed, rate] = rows[i];
        const { passRate, failed: count } = change ?? explanation.before;
        assert.equal(numberOf(failed), count);
        near(rate, passRate, 2);
        assert.equal(direction, change ? change.direction || 'none' : '');
        if (change) {
            near(length, change.shiftLength, 1);
            near(factor, 100 * (change.factor - 1), 2);
        } else {
            assert.equal(length + factor, '');
        }
    }
    const ranges = plainText(await page.locator('#explanation-ranges').innerText());
    for (const [axis, range] of within.shift.entries()) {
        const told = ranges.match(new RegExp(`\\b${'xyz'[axis]} (\\S+) to (\\S+) mm`));
        assert.equal(told !== null, range !== null, ranges);
        range?.forEach((end, i) => near(told[i + 1], end, 1));
    }
    const factors = ranges.match(/dose (\S+) to (\S+) %\.$/);
    within.factor.forEach((factor, i) => near(factors[i + 1], 100 * (factor - 1), 1));
    const notes = await page.locator('#explanation-notes li').allTextContents();
    assert.deepEqual(notes, explanation.notes);
    assert.equal(await page.locator('#explanation-notes').isVisible(), notes.length > 0);
}

/** How many voxels are drawn as tested and as failed, in each pair of maps. */
function countedInMaps(page) {
    return page.locator('#explanation-maps canvas').evaluateAll((all) => all.map((canvas) => {
        const { data } = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height);
        const counts = { tested: 0, failed: 0 };
        for (let i = 0; i < data.length; i += 4) {
            counts.tested += data[i + 3] > 0 ? 1 : 0;
            counts.failed += data[i + 3] > 0 && data[i] > data[i + 2] + 20 ? 1 : 0;
        }
        return counts;
    }));
}

async function checkMaps(page, { report, stored }, shown = views) {
    const { size: voxels } = report.grids.reference;
    const cross = (await page.locator('#cross-voxel').innerText()).split(' ').map(Number);
    const expected = shown.flatMap(({ normal }) => [report.criteria[0], report.explanation].map(({ gammaVolume }) => {
        const inSlice = [...stored[gammaVolume]].filter((_, i) => voxelOf({ size: voxels }, i)[normal] === cross[normal]);
        return { tested: inSlice.filter((g) => g >= 0).length, failed: inSlice.filter((g) => g > 1000).length };
    }));
    assert.deepEqual(await countedInMaps(page), expected);
    return expected;
}

describe('a shift and a factor, with a structure', { skip }, () => {
    let opened, page;
    const shift = [1.5, -1, 2];
    const kinds = { pass: '✓', investigate: '!', fail: '✕' };

    before(async () => {
        opened = await open(
            volume('reference.mha', (p) => dose(p)),
            volume('evaluation.mha', (p) => dose(p, { shift, factor: 1.03 })),
            '--structures', volume('target.mha', (p) => Number(Math.hypot(...p) < 20)),
            '-c', '2%/1mm', '-c', '3%L/2mm', '--tolerance', 'target:99.5',
            '--explain', '--sweep', '1:3%/1:3mm', '--sweep', '2:3%L/2mm',
        );
        ({ page } = opened);
    });
    after(() => page?.close());

    test('numbers and words are those of the record', async () => {
        const { record, report } = opened;
        assert.equal(report.explanation.gammaVolume !== undefined, true);
        const { gammaVolume, ...explanation } = report.explanation;
        assert.deepEqual(explanation, record.explanation);
        assert.equal(record.explanation.conclusion, 'both');
        record.explanation.best.shift.forEach((mm, axis) => assert.ok(Math.abs(mm - shift[axis]) < 0.15, `${mm}`));
        await checkNumbers(page, record);
    });

    test('arrows show the way in the three views', () => checkArrows(page, opened.record, anatomical));

    test('a button shows both maps where the crosshair is, and hides them', async () => {
        const button = page.locator('#explanation-show');
        assert.ok(!(await page.locator('#explanation-maps').isVisible()));
        await button.focus();
        await page.keyboard.press('Enter');
        await page.locator('#explanation-maps canvas').last().waitFor();
        await settle(page);
        assert.equal(await button.getAttribute('aria-expanded'), 'true');
        const first = await checkMaps(page, opened);
        assert.ok(first[0].failed > 20 && first[1].failed < first[0].failed / 4, JSON.stringify(first));
        await page.locator('#axial-slice').focus();
        await page.keyboard.press('Shift+PageUp');
        await settle(page);
        assert.notDeepEqual(await checkMaps(page, opened), first);
        // Another criterion in the slices leaves the maps those of the one that is explained.
        await page.locator('#criterion-1').check();
        await settle(page);
        await checkMaps(page, opened);
        await button.click();
        assert.ok(!(await page.locator('#explanation-maps').isVisible()));
        assert.equal(await button.getAttribute('aria-expanded'), 'false');
        await page.locator('#criterion-0').check();
    });

    test('rates by criterion are those of the record, judged by words and marks', async () => {
        const { record } = opened;
        const parts = record.sweeps.flatMap((sweep) => sweep.parts.map((part) => ({ ...sweep, ...part })));
        const figures = await page.locator('#sweep-maps figure').all();
        assert.equal(figures.length, parts.length);
        assert.deepEqual(parts.map(({ structure }) => structure), [null, 'target', null, 'target']);
        const seen = new Set();
        for (const [i, { structure, local, doseDifferences, distances, passRates }] of parts.entries()) {
            assert.ok((await figures[i].locator('figcaption').innerText()).startsWith(structure ?? 'All tested voxels'));
            assert.equal(await figures[i].locator('thead th').first().innerText(), local ? 'local' : 'global');
            const columns = (await figures[i].locator('thead th + th').allInnerTexts()).map(parseFloat);
            const rows = (await figures[i].locator('tbody th').allInnerTexts()).map(parseFloat);
            assert.deepEqual([rows, columns], [doseDifferences, distances]);
            const fields = await figures[i].locator('.sweep-field').evaluateAll((all) => all.map((field) => ({
                text: field.innerText, title: field.title, mark: getComputedStyle(field, '::before').content,
            })));
            const tolerance = structure === 'target' ? 99.5 : 95;
            for (const [place, rate] of passRates.flat().entries()) {
                const { text, title, mark } = fields[place];
                assert.ok(Math.abs(numberOf(text) - rate) <= 0.00501, `${text} is not ${rate}`);
                const verdict = rate >= tolerance ? 'pass' : rate >= 90 ? 'investigate' : 'fail';
                const dd = doseDifferences[Math.floor(place / distances.length)];
                const label = `${dd}%${local ? 'L' : ''}/${distances[place % distances.length]}mm`;
                assert.equal(plainText(title), `${label}: ${text} %, ${verdict}`);
                assert.ok(mark.includes(kinds[verdict]), `${mark} for ${verdict}`);
                seen.add(verdict);
            }
        }
        assert.deepEqual([...seen].toSorted(), ['fail', 'investigate', 'pass']);
    });

    test('a field whose criterion has a map shows it, the others do not answer', async () => {
        const { record } = opened;
        const buttons = page.locator('#sweep-maps button');
        const labels = (await buttons.evaluateAll((all) => all.map((b) => b.title))).map((t) => t.split(':')[0]);
        assert.deepEqual(labels, ['2%/1mm', '2%/1mm', '3%L/2mm', '3%L/2mm']);
        for (const [nth, criterion, key] of [[2, 1, 'Space'], [1, 0, 'Enter'], [3, 1, null], [0, 0, null]]) {
            await (key ? buttons.nth(nth).press(key) : buttons.nth(nth).click());
            await settle(page);
            assert.equal(await page.locator('#verdict-rate').innerText(), record.criteria[criterion].passRate.toFixed(2));
            const pressed = await buttons.evaluateAll((all) => all.map((b) => b.getAttribute('aria-pressed')));
            assert.deepEqual(pressed, labels.map((label) => String(label === record.criteria[criterion].label)));
        }
    });

    test('both themes can be read', async () => {
        for (const colorScheme of ['light', 'dark']) {
            await page.emulateMedia({ colorScheme });
            await settle(page);
            const low = await page.evaluate(lowContrasts, ['.sweep-field', '#explanation :is(td, th, p, figcaption)', '#explanation svg text']);
            assert.deepEqual(low, [], colorScheme);
        }
        await page.emulateMedia({ colorScheme: null });
    });

    test('on paper the card stands without its maps, on the sheet of the results', async () => {
        await page.locator('#explanation-show').click();
        await settle(page);
        const sheets = (await page.pdf({ preferCSSPageSize: true })).toString('latin1').match(/\/Type\s*\/Page\b/g).length;
        assert.equal(sheets, 2, 'the sheet of results and that of structures');
        await page.evaluate(() => dispatchEvent(new Event('beforeprint')));
        for (const id of ['explanation-maps', 'explanation-show', 'sweeps']) {
            assert.ok(!(await page.locator(`#${id}`).isVisible()), id);
        }
        const [card, arrows] = await Promise.all(['#explanation', '#explanation-arrows'].map((s) => page.locator(s).boundingBox()));
        assert.ok(arrows.y + arrows.height <= card.y + card.height && card.height < 0.2 * 1040, `${card.height} pixels`);
        await page.evaluate(() => dispatchEvent(new Event('afterprint')));
        assert.ok(await page.locator('#explanation-maps').isVisible());
    });

    test('all this without a message or a request', () => {
        // Reading the pictures is what this test does, not the page.
        assert.deepEqual(opened.complaints.filter((text) => !text.includes('willReadFrequently')), []);
    });
});

/** Texts whose colour is too near to what is behind them, also to the softer part of a field. */
function lowContrasts(selectors) {
    const canvas = document.createElement('canvas').getContext('2d', { willReadFrequently: true });
    const lightness = (colour) => {
        canvas.fillStyle = colour;
        canvas.fillRect(0, 0, 1, 1);
        const parts = [...canvas.getImageData(0, 0, 1, 1).data.slice(0, 3)]
            .map((v) => v / 255)
            .map((v) => (v <= 0.04045 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4));
        return 0.2126 * parts[0] + 0.7152 * parts[1] + 0.0722 * parts[2];
    };
    const behind = (element) => {
        for (let at = element; at; at = at.parentElement) {
            const { backgroundColor, backgroundImage } = getComputedStyle(at);
            if (backgroundColor !== 'rgba(0, 0, 0, 0)') {
                return [backgroundColor, ...(backgroundImage.match(/rgb\([^)]*\)/g) ?? [])];
            }
        }
        return ['white'];
    };
    const low = [];
    for (const element of document.querySelectorAll(selectors.join(', '))) {
        const isLetter = element instanceof SVGElement;
        const ink = lightness(getComputedStyle(element)[isLetter ? 'fill' : 'color']);
        for (const ground of behind(element)) {
            const [darker, lighter] = [ink, lightness(ground)].toSorted((a, b) => a - b);
            const contrast = (lighter + 0.05) / (darker + 0.05);
            if (element.textContent && contrast < 4.5) {
                low.push(`${element.className.baseVal ?? element.className} ${element.textContent}: ${contrast.toFixed(2)}`);
            }
        }
    }
    return low;
}

describe('what else there is to tell', { skip }, () => {
    const cold = (p) => dose(p) * (1 - 0.3 * Math.exp(-(((p[0] - 6) / 5) ** 4) - ((p[1] + 4) / 5) ** 4 - ((p[2] - 4) / 5) ** 4));
    const one = { normal: 2 };
    const cases = [
        {
            name: 'a dose that is the same all along z',
            reference: () => volume('a.mha', (p) => dose(p, { endless: true })),
            evaluation: () => volume('b.mha', (p) => dose(p, { endless: true, shift: [1.5, -2, 0] })),
            sentence: /^Explained by a shift: moving the evaluation by 2\.\d mm \(1\.\d mm left, 2\.0 mm anterior\)/,
            notes: /^not determined along z/,
            arrows: anatomical,
        },
        {
            name: 'a cold spot',
            reference: () => volume('a.mha', (p) => dose(p)),
            evaluation: () => volume('b.mha', cold),
            sentence: /^Explained by neither a shift nor a factor/,
            arrows: anatomical,
            remains: true,
        },
        {
            name: 'nothing failed',
            reference: () => volume('a.mha', (p) => dose(p)),
            evaluation: () => volume('b.mha', (p) => dose(p)),
            sentence: /^No voxel failed: there is nothing to explain\.$/,
            arrows: anatomical,
        },
        {
            name: 'one slice',
            reference: () => volume('a.mha', (p) => dose(p), 1),
            evaluation: () => volume('b.mha', (p) => dose(p, { shift: [-2, 1.5, 0] }), 1),
            sentence: /\(2\.0 mm right, 1\.5 mm posterior\)/,
            notes: /^not searched along z: the evaluation has one voxel along it$/,
            arrows: anatomical,
        },
        {
            name: 'a plane, which lies nowhere in the patient',
            reference: () => plane('a.txt'),
            evaluation: () => plane('b.txt', { shift: [-2, 1.5, 0] }),
            sentence: /\(2\.0 mm along -x, 1\.5 mm along \+y\)/,
            notes: /^not searched along z: the evaluation has one voxel along it$/,
            arrows: flat,
            maps: [one],
        },
    ];
    for (const { name, reference, evaluation, sentence, notes, arrows, maps, remains } of cases) {
        test(name, async () => {
            const opened = await open(reference(), evaluation(), '-c', '2%/1mm', '--explain');
            const { page, record } = opened;
            assert.match(record.explanation.sentence, sentence);
            assert.match(record.explanation.notes.join('\n'), notes ?? /^$/);
            await checkNumbers(page, record);
            await checkArrows(page, record, arrows);
            await page.locator('#explanation-show').click();
            await page.locator('#explanation-maps canvas').last().waitFor();
            await settle(page);
            const counted = await checkMaps(page, opened, maps);
            if (remains) {
                assert.ok(counted.every(({ failed }) => failed > 5), JSON.stringify(counted));
            }
            assert.ok(!(await page.locator('#sweeps').isVisible()));
            assert.deepEqual(opened.complaints, []);
            await page.close();
        });
    }

    test('a comparison with neither has neither card', async () => {
        const { page, complaints } = await open(volume('a.mha', (p) => dose(p)), volume('b.mha', cold));
        assert.equal(await page.locator('#explanation:visible, #sweeps:visible').count(), 0);
        assert.deepEqual(complaints, []);
        await page.close();
    });
});
