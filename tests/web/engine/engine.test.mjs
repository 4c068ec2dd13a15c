// The engine of the page that compares: the bits of the program's gamma maps, and its documents.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { createHash } from 'node:crypto';
import { existsSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, describe, test } from 'node:test';
import { inflateSync } from 'node:zlib';
import { writeLargeDose } from '../largeDose.mjs';
import { bundled, startEngine } from './nodeEngine.mjs';

const { ZARNGI_PROGRAM: program, ZARNGI_DATA: data } = process.env;
const folder = mkdtempSync(join(tmpdir(), 'zarngi-engine-test-'));
const skip = !existsSync(data) && 'no dose files in ../shared/data';
const heardOf = [];
let engine, helper, usualRequest, withFiles;

before(async () => {
    ({ usualRequest, withFiles } = await bundled());
    engine = await startEngine((...told) => heardOf.push(told));
    helper = await startEngine();
});
after(() => rmSync(folder, { recursive: true, force: true }));

const sha256 = (bytes) => createHash('sha256').update(bytes).digest('hex');

/** @param asked the paths of the files, and members of the request that are not as usual */
function compare(asked, by = engine) {
    const { reference, evaluation, structures = [], ...members } = asked;
    const request = { ...withFiles(usualRequest(), reference, evaluation, structures), ...members };
    const files = [reference, evaluation, ...structures];
    const digests = Object.fromEntries(files.map((path) => [path, { bytes: 1, sha256: '' }]));
    let answer = by.call({ call: 'compare', request, command: 'zarngi compare', digests, readSeconds: 0 });
    while ('parts' in answer) {
        searchParts(by, answer.parts);
        answer = by.call({ call: 'goOn' });
    }
    return answer.record;
}

const copied = (by, call) => new Uint8Array(by.output(by.call(call).bytes));

/** Every other part by another engine, as the workers of a page do, the last ones first. */
function searchParts(by, count) {
    const parts = Array.from({ length: count }, () => by.call({ call: 'nextPart' }).part);
    assert.equal(by.call({ call: 'nextPart' }).part, null);
    parts.reverse().forEach((part, i) => {
        if (i % 2 === 1) {
            by.call({ call: 'searchPart', part });
            return;
        }
        const doses = ['reference', 'evaluation'].map((grid) => copied(by, { call: 'partDoses', part, grid }));
        const { bytes } = helper.call({ call: 'searchElsewhere', part }, doses);
        const found = new Uint8Array(helper.output(bytes));
        const voxels = found.length / 5;
        by.call({ call: 'takePart', part }, [found.subarray(0, 4 * voxels), found.subarray(4 * voxels)]);
    });
}

function output(call) {
    const { bytes } = engine.call(call);
    return Buffer.from(engine.output(bytes));
}

/** What the program makes of the same: its record, and the floats of its maps. */
function byProgram(request, count) {
    const { reference, evaluation, structures = [], criteria, maxGamma, nearest, step, measured } = request;
    const options = [
        ...structures.flatMap((path) => ['--structures', path]),
        ...criteria.flatMap((criterion) => ['-c', criterion]),
        ...(maxGamma ? ['--max-gamma', String(maxGamma)] : []),
        ...(nearest ? ['--nearest'] : []),
        ...(step ? ['--step', String(step)] : []),
    ];
    const json = join(folder, 'record.json');
    const map = join(folder, 'map.nii');
    execFileSync(program, ['compare', reference, evaluation, ...options, '--json', json, '--gamma-map', map]);
    const maps = criteria.map((criterion) => {
        const name = criteria.length === 1 ? map : map.replace('.nii', `-${labelOf(criterion)}.nii`);
        const bytes = readFileSync(name);
        return bytes.subarray(bytes.length - 4 * count);
    });
    return { record: JSON.parse(readFileSync(json, 'utf8')), maps, measured };
}

const labelOf = (criterion) =>
    criterion.replace(/^(\d+)%(L?)\/(\d+)mm$/, (_, dd, local, dta) => `${dd}${local || 'G'}-${dta}mm`);

/** A record less what differs between two runs, and between hosts. */
function comparable(record) {
    const { created, command, threads, timings, files, ...rest } = structuredClone(record);
    for (const criterion of rest.criteria) {
        delete criterion.seconds;
    }
    if (rest.structures) {
        delete rest.structures.files;
    }
    for (const part of ['reference', 'evaluation', 'structures']) { // seen from where the document lies
        delete rest.request[part].file;
        delete rest.request[part].files;
    }
    return rest;
}

const at = (name) => join(data, name);
const headNeck = { reference: at('head_neck_day1.nrrd'), evaluation: at('head_neck_day2.nrrd') };
const rows = {
    'head-neck, four criteria, structures': {
        ...headNeck,
        structures: [at('head_neck_structures.dcm')],
        criteria: ['3%/3mm', '2%/2mm', '3%L/3mm', '3%/2mm'],
    },
    'head-neck, no interpolation': { ...headNeck, criteria: ['3%/3mm'], nearest: true },
    'head-neck, far search': { ...headNeck, criteria: ['1%/1mm'], maxGamma: 10 },
    'proton fields': {
        reference: at('proton_ramp_beam1.dcm'),
        evaluation: at('proton_ramp_beam2.dcm'),
        criteria: ['3%/3mm'],
        maxGamma: 2,
    },
    'a plan and itself': {
        reference: at('proton_ramp_plan.dcm'),
        evaluation: at('proton_ramp_plan.dcm'),
        criteria: ['2%/2mm'],
    },
    'measured array and planned plane': {
        reference: at('arccheck_measured.txt'),
        evaluation: at('arccheck_planned.snc'),
        criteria: ['3%/3mm', '2%/2mm', '3%/2mm', '3%L/3mm', '1%/1mm'],
    },
    'a lattice finer than a plane is thick': {
        reference: at('arccheck_measured.txt'),
        evaluation: at('arccheck_planned.snc'),
        criteria: ['3%/0.05mm'],
        step: 0.005,
    },
};

describe('gives what the program gives', { skip }, () => {
    for (const [name, request] of Object.entries(rows)) {
        test(name, () => {
            const record = compare(request);
            const count = record.grids.reference.size.reduce((a, b) => a * b);
            const native = byProgram(request, count);
            assert.deepEqual(comparable(record), comparable(native.record));
            native.maps.forEach((map, criterion) => {
                assert.equal(sha256(output({ call: 'gammas', criterion })), sha256(map));
            });
        });
    }

    test('rates of other criteria are those of a comparison', () => {
        const record = compare({ ...rows['head-neck, four criteria, structures'] });
        for (const criterion of record.criteria) {
            const { passRate, structures } = engine.call({ call: 'rates', criterion: criterion.label });
            assert.equal(passRate, criterion.passRate);
            assert.deepEqual(structures, criterion.structures.map((structure) => structure.passRate));
        }
    });

    test('progress is told', () => {
        heardOf.length = 0;
        compare({ ...headNeck, criteria: ['1%/1mm'], maxGamma: 10 });
        assert.ok(heardOf.length > 3, `${heardOf.length} times`);
        assert.ok(heardOf.every(([label, shell, limit, share]) =>
            label === '1%/1mm' && shell <= limit && share >= 0 && share <= 1));
    });
});

/** A volume of a report page, unpacked. */
function volumeOf(page, name) {
    const [, text] = page.match(new RegExp(`id="volume-${name}">([^<]*)<`));
    return inflateSync(Buffer.from(text, 'base64'));
}

/** What the engine gives piece by piece. */
function joined(call) {
    const pieces = [];
    for (let from = 0, voxels = 1; from < voxels; from += pieces.at(-1).length / 2) {
        const answer = engine.call({ ...call, from });
        voxels = answer.voxels;
        pieces.push(Buffer.from(engine.output(answer.bytes)));
    }
    return Buffer.concat(pieces);
}

/** The low bytes of words, then the high ones. */
const shuffled = (words) => Buffer.concat([0, 1].map((half) => words.filter((_, i) => i % 2 === half)));

test('a large grid, of which little is tested, has the maps and the page of the program', () => {
    const criteria = ['3%/3mm', '1%/1mm'];
    const request = { reference: writeLargeDose(join(folder, 'large-reference.mha'), 0), evaluation: writeLargeDose(join(folder, 'large-evaluation.mha'), 0.8), criteria };
    heardOf.length = 0;
    const record = compare(request);
    const native = byProgram(request, record.grids.reference.size.reduce((a, b) => a * b));
    assert.deepEqual(comparable(record), comparable(native.record));
    const shares = heardOf.filter(([label]) => label === criteria[0]).map(([, , , share]) => share);
    assert.ok(shares.length > 2 && shares.every((share, i) => i === 0 || share >= shares[i - 1]), `${shares}`);
    assert.equal(shares.at(-1), 1);
    assert.ok(record.criteria[1].failed > 1000 && record.criteria[1].passed > 1000);

    const report = join(folder, 'report.html');
    const options = criteria.flatMap((criterion) => ['-c', criterion]);
    execFileSync(program, ['compare', request.reference, request.evaluation, ...options, '--report', report]);
    const wanted = readFileSync(report, 'utf8');
    const page = output({ call: 'document', document: 'page', template: '<!--ZARNGI-DATA-->' }).toString();
    criteria.forEach((_, criterion) => {
        assert.equal(sha256(output({ call: 'gammas', criterion })), sha256(native.maps[criterion]));
        const file = output({ call: 'document', document: 'gammaMap', criterion, name: 'map.nii' });
        assert.equal(sha256(file.subarray(-native.maps[criterion].length)), sha256(native.maps[criterion]));
        const volume = volumeOf(wanted, `gamma-${criterion}`);
        assert.ok(volumeOf(page, `gamma-${criterion}`).equals(volume));
        const rows = new Int32Array(output({ call: 'testedGammas', criterion, part: 'rows' }).buffer);
        const values = joined({ call: 'testedGammas', criterion, part: 'values' });
        assert.ok(values.length < volume.length / 20, `${values.length} bytes`);
        const words = Buffer.alloc(volume.length, 0xff); // -1: not tested
        let kept = 0;
        for (let row = 0; row < rows.length; kept += rows[row + 1], row += 2) {
            values.copy(words, 2 * rows[row], 2 * kept, 2 * (kept + rows[row + 1]));
        }
        assert.ok(shuffled(words).equals(volume));
    });
    for (const volume of ['reference', 'evaluation']) {
        assert.ok(shuffled(joined({ call: 'volume', volume })).equals(volumeOf(wanted, volume)));
    }
    const { passRate } = engine.call({ call: 'rates', criterion: criteria[1] });
    assert.equal(passRate, record.criteria[1].passRate);
});

test('parts of a comparison that gave way to another one are nobody\'s', () => {
    const [reference, evaluation] = [0, 0.8].map((shift, i) => writeLargeDose(join(folder, `left-${i}.mha`), shift));
    const request = { ...withFiles(usualRequest(), reference, evaluation, []), criteria: ['3%/3mm'] };
    const digests = Object.fromEntries([reference, evaluation].map((path) => [path, { bytes: 1, sha256: '' }]));
    const call = { call: 'compare', request, command: '', digests, readSeconds: 0 };
    assert.ok(engine.call(call).parts > 1);
    const { part } = engine.call({ call: 'nextPart' });
    const absent = { ...request, evaluation: { ...request.evaluation, file: '/absent.nrrd' } };
    assert.throws(() => engine.call({ ...call, request: absent }), /absent/);
    for (const late of [{ call: 'nextPart' }, { call: 'searchPart', part }, { call: 'takePart', part }, { call: 'goOn' }]) {
        assert.throws(() => engine.call(late, [new Uint8Array(4), new Uint8Array(1)]), /nothing has been compared yet/);
    }
});

test('a comparison that fails leaves none', { skip }, () => {
    compare({ ...headNeck, criteria: ['3%/3mm'] });
    assert.throws(() => compare({ ...headNeck, criteria: ['3%/3mm'], evaluation: '/absent.nrrd' }));
    assert.throws(() => engine.call({ call: 'rates', criterion: '3%/3mm' }), {
        message: 'nothing has been compared yet',
    });
});

/** What a call fails with. */
function failureOf(call) {
    try {
        call();
    } catch (error) {
        return error.told;
    }
    return assert.fail('it is not refused');
}

const partsText = ({ parts }) => parts.map((part) => part.text ?? part.member ?? part.file).join('');

describe('a comparison that cannot be made is refused at its member or file', { skip }, () => {
    const limits = (change) => ({ tolerance: [], action: [], failBelow: [], ...change });
    const refusals = [
        { change: { criteria: ['3%/3mm', '3%/'] }, kind: 'request', member: 'criteria[1]' },
        { change: { cutOff: -1 }, kind: 'request', member: 'cutOff' },
        { change: { cutOff: '1,5' }, kind: 'request', member: 'cutOff' },
        { change: { normalisationAt: '1;2' }, kind: 'request', member: 'normalisationAt' },
        { change: { criteria: ['3%/3mm', '3%/3mm'] }, kind: 'request', member: 'criteria[1]' },
        { change: { criteria: ['PTV*:3%/3mm'] }, kind: 'request', member: 'criteria' },
        { change: { limits: limits({ tolerance: ['95', 'x'] }) }, kind: 'request', member: 'limits.tolerance[1]' },
        { change: { limits: limits({ action: ['99'] }) }, kind: 'request', member: 'limits.action' },
        { change: { plane: { name: 'oblique', at: null } }, kind: 'request', member: 'plane.name' },
        { change: { normalisation: 1000 }, kind: 'pair', file: '' },
        { change: { evaluation: '/absent.nrrd' }, kind: 'system', file: '/absent.nrrd' },
        { change: { evaluation: join(data, 'README.md') }, kind: 'foreign', file: join(data, 'README.md') },
    ];
    for (const { change, kind, ...where } of refusals) {
        test(`${JSON.stringify(change)}: ${kind}`, () => {
            const failure = failureOf(() => compare({ ...headNeck, criteria: ['3%/3mm'], ...change }));
            assert.equal(failure.kind, kind, failure.error);
            assert.deepEqual({ ...failure, ...where }, failure);
            assert.equal(partsText(failure), failure.error);
        });
    }
});

/** Each object of a document, with the path of its members. */
function* objectsOf(value, path = '') {
    if (value && typeof value === 'object' && !Array.isArray(value)) {
        yield { path, names: Object.keys(value) };
        for (const [name, member] of Object.entries(value)) {
            yield* objectsOf(member, path ? `${path}.${name}` : name);
        }
    }
}

describe('the document of a request', () => {
    const read = (document) => engine.call({ call: 'request', text: JSON.stringify(document) }).request;
    const whole = () => ({
        ...usualRequest(),
        name: 'Lung',
        version: '2',
        title: 'Lung, 60 Gy',
        source: 'our department',
        sha256: 'a'.repeat(64),
        reference: { file: 'a.dcm', add: ['b.dcm'], scale: '1/33', uncertainty: '2%' },
        criteria: ['3%/2mm', 'PTV*:2%L/1.25mm'],
        cutOff: 12.5,
        normalisationAt: [1, -2.5, 3],
        step: 0.1,
        structures: {
            files: ['s.dcm'], show: ['PTV*'], exclude: ['x'], within: 'BODY', metrics: ['D99', 'V20Gy'],
            prescription: 50.4, ignoreFrame: true, ifPresent: true,
        },
        limits: { tolerance: ['95'], action: ['90', 'PTV*:92.5'], failBelow: ['80'] },
        goals: ['PTV*: D95% >= 57 Gy', 'PTV*: Dmean within 2 %'],
        plane: { name: 'coronal', at: [0, 1, 2] },
        units: { dose: 'cGy', length: 'cm', pixelSize: 0.35, uncertainty: 'percent' },
        noise: { seed: 7 },
        explain: { range: 7, structure: 'PTV' },
        sweeps: ['1:3%/1:3mm'],
        refuse: ['identical-doses', 'unreached'],
        referenceGuessed: true,
        plans: ['p.dcm'],
        identify: true,
        header: { comment: 'seen', machine: 'LINAC 1' },
    });

    test('comes back as it was, alone and out of a record', () => {
        assert.deepEqual(read(usualRequest()), usualRequest());
        assert.deepEqual(read(whole()), whole());
        const file = { sha256: '' };
        const files = { reference: file, evaluation: file };
        assert.deepEqual(read({ format: 'zarngi-report', formatVersion: 1, files, request: whole() }), whole());
        const { bytes } = engine.call({ call: 'request', text: JSON.stringify(whole()) });
        assert.deepEqual(JSON.parse(Buffer.from(engine.output(bytes)).toString()), { ...whole(), sha256: '' });
    });

    test('of a shipped protocol knows whether it is changed', () => {
        const { protocols } = engine.call({ call: 'protocols' });
        assert.deepEqual(protocols.map(({ name }) => name), ['head-neck', 'prostate', 'tg-119', 'tg-218']);
        for (const { name, sha256 } of protocols) {
            const { request } = engine.call({ call: 'protocol', name });
            assert.equal(request.sha256, sha256);
            for (const [change, isChanged] of [[{}, false], [{ cutOff: 11 }, true], [{ identify: true, header: { comment: 'x' } }, false]]) {
                const text = JSON.stringify({ ...request, ...change });
                assert.equal(engine.call({ call: 'request', text }).isChanged, isChanged, name);
            }
        }
    });

    test('is refused where a member is missing, has another name or another type', () => {
        const places = [...objectsOf(whole())].flatMap(({ path, names }) => names.map((name) => ({ path, name })));
        assert.ok(places.length > 35, `${places.length} members`);
        const changes = {
            dropped: (object, name) => delete object[name],
            renamed(object, name) {
                object[`${name}s`] = object[name];
                delete object[name];
            },
            retyped: (object, name) => (object[name] = object[name] === null || typeof object[name] !== 'object' ? { value: 1 } : 7),
        };
        for (const { path, name } of places) {
            // Of the header each field may be left out, and any other name is none of its fields.
            const mayLack = path === 'header' || name === 'pixelSize';
            const kinds = Object.entries(changes).filter(([what]) => !mayLack || what === 'retyped');
            for (const [what, change] of kinds) {
                const document = whole();
                change(path.split('.').filter(Boolean).reduce((object, part) => object[part], document), name);
                const { kind, member } = failureOf(() => read(document));
                const wanted = path ? `${path}.${name}` : name;
                assert.deepEqual([kind, member], ['request', wanted], `${wanted} ${what}`);
            }
        }
    });

    for (const text of ['', '{', '[]', '7', '{"format": "zarngi-report"}', '{"format": "zarngi-cohort"}']) {
        test(`${text || 'nothing'} is none`, () => {
            assert.equal(failureOf(() => engine.call({ call: 'request', text })).kind, 'request');
        });
    }
});

describe('what is kept of files', () => {
    const size = [100, 100, 50];
    const doseBytes = 4 * size.reduce((a, b) => a * b);
    const reads = {};
    let held;

    const metaImage = (value, cut = 0, grid = size) => {
        const head = `ObjectType = Image\nNDims = 3\nBinaryData = True\nBinaryDataByteOrderMSB = False\nOffset = 0 0 0\nElementSpacing = 2 2 2\nDimSize = ${grid.join(' ')}\nElementType = MET_FLOAT\nElementDataFile = LOCAL\n`;
        const values = new Float32Array(grid.reduce((a, b) => a * b)).map((_, i) => value(i));
        return Buffer.concat([Buffer.from(head), Buffer.from(values.buffer)]).subarray(0, cut || undefined);
    };
    const names = Array.from({ length: 12 }, (_, n) => `dose${n}.mha`);
    const contents = {
        'mask.mha': () => metaImage((i) => i % 3),
        'large-mask.mha': () => metaImage((i) => i % 3, 0, [200, 200, 110]),
        'short.mha': () => metaImage((i) => i + 0.5, 5000),
        'new.nrrd': () => Buffer.from('NRRD0009\n\n'),
        'photo.jpg': () => Buffer.from([0xff, 0xd8, 0xff, 0xe0, ...Array(2000).fill(7)]),
        ...Object.fromEntries(names.map((name, n) => [name, () => metaImage((i) => 1.5 + n + (i % 7))])),
    };
    const files = {
        has: (path) => path in contents,
        contents(path) {
            reads[path] = (reads[path] ?? 0) + 1;
            if (!(path in contents)) {
                return null;
            }
            const bytes = contents[path]();
            return { size: bytes.length, read: (buffer) => buffer.set(bytes) };
        },
    };
    const identify = (path) => held.call({ call: 'identify', path });

    before(async () => {
        held = await startEngine(() => {}, files);
    });

    test('a file is told by what it holds, and read once for that', () => {
        const { bytes } = held.call({ call: 'example', part: 'structures' });
        const structures = Buffer.from(held.output(bytes));
        contents['set.dcm'] = () => structures;
        const kinds = { 'mask.mha': 'mask', 'short.mha': 'refused', 'new.nrrd': 'refused', 'photo.jpg': 'foreign', 'set.dcm': 'structures', [names[0]]: 'dose' };
        for (const [path, kind] of Object.entries(kinds)) {
            assert.equal(identify(path).kind, kind, path);
            assert.equal(reads[path], 1, path);
        }
        assert.equal(identify('photo.jpg').isDicom, false);
        assert.equal(identify('short.mha').failure, 'damaged');
        assert.equal(identify('new.nrrd').failure, 'notSupported');
        assert.equal(identify('mask.mha').mask.names.length, 2);
    });

    // Its doses stay in the block that the file was read into.
    test('a large mask is a dose and structures, for which it is read once more', () => {
        const { kind, mask, grid } = identify('large-mask.mha');
        assert.deepEqual([kind, mask.names.length, grid.maximum.dose], ['mask', 2, 2]);
        assert.equal(reads['large-mask.mha'], 2);
        held.call({ call: 'forget', path: 'large-mask.mha' });
    });

    test('of many doses those that are compared, and the last two', () => {
        const heap = () => held.module.HEAPU8.length;
        names.slice(0, 4).forEach(identify);
        const few = heap();
        names.slice(4).forEach(identify);
        assert.ok(heap() < few + 2 * doseBytes, `${heap() - few} bytes more for ${names.length - 4} doses`);
        const values = (path) => held.output(held.call({ call: 'values', path }).bytes);
        const before = { ...reads };
        assert.equal(new Float32Array(values(names.at(-1)))[0], 1.5 + names.length - 1);
        assert.equal(reads[names.at(-1)], before[names.at(-1)]);
        const [reference, evaluation] = names;
        for (const criterion of ['3%/3mm', '40%/3mm']) {
            compare({ reference, evaluation, criteria: [criterion] }, held);
        }
        names.slice(-2).forEach(identify);
        assert.equal(new Float32Array(values(reference))[1], 2.5);
        assert.deepEqual([reads[reference], reads[evaluation]], [before[reference] + 1, before[evaluation] + 1]);
    });
});

describe('a dose in another format', () => {
    const asked = { call: 'convert', like: '', scale: '', allowErrorDoses: false, units: {} };
    const place = (name) => join(folder, name);
    before(() => execFileSync(program, ['demo', folder]));

    for (const [name, words] of [
        ['made.dcm', {}], ['made.dcm', { scale: '1/33' }], ['made.nii', {}],
        ['made.dcm', { like: join(folder, 'structures.dcm') }],
    ]) {
        test(`has the bytes of the program: ${name} ${Object.keys(words)}`, () => {
            const bytes = output({ ...asked, path: place('reference.mha'), name, ...words });
            const options = Object.entries(words).flatMap(([word, value]) => [`--${word}`, value]);
            execFileSync(program, ['convert', place('reference.mha'), place(name), ...options], { stdio: 'ignore' });
            assert.equal(sha256(bytes), sha256(readFileSync(place(name))));
        });
    }

    test('is refused in one sentence where it cannot be', () => {
        for (const [words, sentence] of [
            [{ name: 'made.txt' }, /^made\.txt: does not end in \.dcm, /],
            [{ name: 'made.dcm', like: place('reference.mha') }, /reference\.mha: is no DICOM file$/],
            [{ name: 'made.mha', path: place('structures.dcm') }, /structures\.dcm: /],
        ]) {
            assert.throws(() => engine.call({ ...asked, path: place('reference.mha'), ...words }), { message: sentence });
        }
    });
});

test('the acceptance test passes with the cases of the program, and tells what it was made of', () => {
    const call = { call: 'selfTest', system: 'a browser', engine: { bytes: 3, sha256: 'abc' } };
    const { record, bytes } = engine.call(call);
    const page = Buffer.from(engine.output(bytes)).toString();
    const names = (told) => told.cases.map(({ name }) => name.replace(/, by .*/, ''));
    const json = join(folder, 'selftest.json');
    execFileSync(program, ['selftest', '--json', json]);
    const ofProgram = JSON.parse(readFileSync(json, 'utf8'));
    assert.deepEqual(record.cases.filter(({ passed }) => !passed), []);
    assert.equal(record.passed, true);
    assert.deepEqual(new Set(names(record)), new Set(names(ofProgram)));
    const wanted = (told) => Object.fromEntries(told.cases.map((one) => [one.name.replace(/, by .*/, ''), one.wanted]));
    assert.deepEqual(wanted(record), wanted(ofProgram));
    assert.deepEqual(record.installation.files, [{ name: 'engine.wasm', bytes: 3, sha256: 'abc' }]);
    assert.equal(page.split('<td>passed</td>').length - 1, record.cases.length);
});
