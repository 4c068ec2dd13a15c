// The engine of the page that compares: the bits of the program's gamma maps, and its documents.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { createHash } from 'node:crypto';
import { existsSync, mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, describe, test } from 'node:test';
import { startEngine } from './nodeEngine.mjs';

const { ZARNGI_PROGRAM: program, ZARNGI_DATA: data } = process.env;
const folder = mkdtempSync(join(tmpdir(), 'zarngi-engine-test-'));
const heardOf = [];
let engine;

before(async () => {
    engine = await startEngine((...told) => heardOf.push(told));
});
after(() => rmSync(folder, { recursive: true, force: true }));

const sha256 = (bytes) => createHash('sha256').update(bytes).digest('hex');

function compare(request) {
    const { reference, evaluation, structures = [], ...options } = request;
    const files = [reference, evaluation, ...structures];
    const digests = Object.fromEntries(files.map((path) => [path, { bytes: 1, sha256: '' }]));
    return engine.call({ call: 'compare', reference, evaluation, structures, digests, ...options }).record;
}

function output(call) {
    const { bytes } = engine.call(call);
    return Buffer.from(engine.output(bytes));
}

/** What the program makes of the same: its record, and the floats of its maps. */
function byProgram(request, count) {
    const { reference, evaluation, structures = [], criteria, maxGamma, nearest, measured } = request;
    const options = [
        ...structures.flatMap((path) => ['--structures', path]),
        ...criteria.flatMap((criterion) => ['-c', criterion]),
        ...(maxGamma ? ['--max-gamma', maxGamma] : []),
        ...(nearest ? ['--nearest'] : []),
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
    'head-neck, far search': { ...headNeck, criteria: ['1%/1mm'], maxGamma: '10' },
    'proton fields': {
        reference: at('proton_ramp_beam1.dcm'),
        evaluation: at('proton_ramp_beam2.dcm'),
        criteria: ['3%/3mm'],
        maxGamma: '2',
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
};

describe('gives what the program gives', { skip: !existsSync(data) && `no dose files in ${data}` }, () => {
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
        compare({ ...headNeck, criteria: ['1%/1mm'], maxGamma: '10' });
        assert.ok(heardOf.length > 3, `${heardOf.length} times`);
        assert.ok(heardOf.every(([label, shell, limit, share]) =>
            label === '1%/1mm' && shell <= limit && share >= 0 && share <= 1));
    });
});

test('a comparison that fails leaves none', { skip: !existsSync(data) }, () => {
    compare({ ...headNeck, criteria: ['3%/3mm'] });
    assert.throws(() => compare({ ...headNeck, criteria: ['3%/3mm'], evaluation: '/absent.nrrd' }));
    assert.throws(() => engine.call({ call: 'rates', criterion: '3%/3mm' }), {
        message: 'nothing has been compared yet',
    });
});

describe('refuses in the words of the command line', { skip: !existsSync(data) }, () => {
    const refusals = [
        [{ criteria: ['3%/'] }, /3%\//],
        [{ criteria: ['3%/3mm'], cutOff: '-1' }, /^--dco: "-1" is not a positive number$/],
        [{ criteria: ['3%/3mm', '3%/3mm'] }, /^--criteria: 3%\/3mm is given twice$/],
        [{ criteria: ['3%/3mm'], shown: ['PTV*'] }, /^--structure needs --structures FILE$/],
        [{ criteria: ['3%/3mm'], action: ['99'] }, /^--action 99 is above --tolerance 95$/],
        [{ criteria: ['3%/3mm'], evaluation: '/absent.nrrd' }, /^\/absent\.nrrd: no such file$/],
        [{ criteria: ['3%/3mm'], normalisation: '1000' }, /^nothing to compare: no reference voxel/],
    ];
    for (const [change, sentence] of refusals) {
        test(String(sentence), () => {
            assert.throws(() => compare({ ...headNeck, ...change }), { message: sentence });
        });
    }
});

describe('what is kept of files', () => {
    const size = [100, 100, 50];
    const doseBytes = 4 * size.reduce((a, b) => a * b);
    const reads = {};
    let held;

    const metaImage = (value, cut = 0) => {
        const head = `ObjectType = Image\nNDims = 3\nBinaryData = True\nBinaryDataByteOrderMSB = False\nOffset = 0 0 0\nElementSpacing = 2 2 2\nDimSize = ${size.join(' ')}\nElementType = MET_FLOAT\nElementDataFile = LOCAL\n`;
        const values = new Float32Array(doseBytes / 4).map((_, i) => value(i));
        return Buffer.concat([Buffer.from(head), Buffer.from(values.buffer)]).subarray(0, cut || undefined);
    };
    const names = Array.from({ length: 12 }, (_, n) => `dose${n}.mha`);
    const contents = {
        'mask.mha': () => metaImage((i) => i % 3),
        'short.mha': () => metaImage((i) => i + 0.5, 5000),
        'photo.jpg': () => Buffer.from([0xff, 0xd8, 0xff, 0xe0, ...Array(2000).fill(7)]),
        ...Object.fromEntries(names.map((name, n) => [name, () => metaImage((i) => 1.5 + n + (i % 7))])),
    };
    const files = {
        has: (path) => path in contents,
        contents(path) {
            reads[path] = (reads[path] ?? 0) + 1;
            return path in contents ? { status: 0, bytes: contents[path]() } : { status: -1, bytes: new Uint8Array(0) };
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
        const kinds = { 'mask.mha': 'mask', 'short.mha': 'refused', 'photo.jpg': 'foreign', 'set.dcm': 'structures', [names[0]]: 'dose' };
        for (const [path, kind] of Object.entries(kinds)) {
            assert.equal(identify(path).kind, kind, path);
            assert.equal(reads[path], 1, path);
        }
        assert.match(identify('photo.jpg').sentence, /^is not a dose file/);
        assert.equal(identify('mask.mha').mask.names.length, 2);
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
        const digests = { [reference]: { bytes: 1, sha256: '' }, [evaluation]: { bytes: 1, sha256: '' } };
        for (const criterion of ['3%/3mm', '40%/3mm']) {
            held.call({ call: 'compare', reference, evaluation, structures: [], criteria: [criterion], digests });
        }
        names.slice(-2).forEach(identify);
        assert.equal(new Float32Array(values(reference))[1], 2.5);
        assert.deepEqual([reads[reference], reads[evaluation]], [before[reference] + 1, before[evaluation] + 1]);
    });
});
