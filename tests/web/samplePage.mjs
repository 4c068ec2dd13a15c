// Makes a report page of a synthetic pair of doses:
//   node samplePage.mjs TEMPLATE OUT [--size NX,NY,NZ] [--noise PERCENT] [--other-grid]
//       [--structures N]
// The gamma maps come from a local estimate, good enough to give a page its shapes; they are not
// results of a computation.
import { readFileSync, writeFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';
import { fillTemplate } from './pageFormat.mjs';
import { addStructures } from './sampleStructures.mjs';

const prescription = 60;
const binWidth = 0.05;
const limits = { tolerance: 95, action: 90 };

/** Reproducible numbers from a normal distribution. */
function normalNumbers(seed) {
    let state = seed;
    const uniform = () => {
        state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
        return (state + 0.5) / 4294967296;
    };
    return () => Math.sqrt(-2 * Math.log(uniform())) * Math.cos(2 * Math.PI * uniform());
}

function blob(point, centre, radius, softness) {
    // Plain loops: a large page asks for millions of these.
    let square = 0;
    for (let a = 0; a < 3; ++a) {
        square += ((point[a] - centre[a]) / radius[a]) ** 2;
    }
    const distance = Math.sqrt(square);
    return 1 / (1 + Math.exp((distance - 1) / softness));
}

/** A blob whose centre and radius are shares of what the grid reaches. */
function blobWithin(reach, shares, share, softness) {
    const centre = shares.map((c, a) => c * reach[a]);
    const radius = reach.map((r) => share * r);
    return (point) => blob(point, centre, radius, softness);
}

/** A target, two side fields cut off by opposite faces of the grid, and some dose everywhere. */
function referenceWithin(reach) {
    const target = blobWithin(reach, [0.1, -0.05, 0.08], 0.38, 0.12);
    const [one, other] = [-1, 1].map((x) => blobWithin(reach, [x, 0.3, -0.35], 0.25, 0.2));
    return (point) => {
        const background = 0.03 + (0.01 * point[0]) / reach[0] + (0.01 * point[2]) / reach[2];
        return prescription * (target(point) + 0.45 * (one(point) + other(point)) + background);
    };
}

/** The reference shifted by 2 mm, with one hot and one cold spot, and too high at the faces. */
function evaluationWithin(reach) {
    const reference = referenceWithin(reach);
    const spot = (shares, share) => blobWithin(reach, shares, share, 0.1);
    const hot = [spot([0.3, 0.15, 0.1], 0.13), spot([-1, 0.3, -0.35], 0.15), spot([1, 0.3, -0.35], 0.15)];
    const cold = spot([-0.1, -0.2, -0.2], 0.09);
    return (point) => {
        const shifted = reference([point[0] - 2, point[1], point[2] + 1]);
        return shifted * (1 + 0.14 * (hot[0](point) + hot[1](point) + hot[2](point)) - 0.12 * cold(point));
    };
}

function fillGrid(grid, dose) {
    const values = new Float64Array(grid.size[0] * grid.size[1] * grid.size[2]);
    let next = 0;
    for (let k = 0; k < grid.size[2]; ++k) {
        for (let j = 0; j < grid.size[1]; ++j) {
            for (let i = 0; i < grid.size[0]; ++i) {
                const x = grid.origin[0] + i * grid.spacing[0];
                const y = grid.origin[1] + j * grid.spacing[1];
                values[next++] = dose([x, y, grid.origin[2] + k * grid.spacing[2]]);
            }
        }
    }
    return values;
}

/** Dose difference over what the gradient lets a search make up for. */
function gammaEstimate(grid, reference, evaluation, criterion) {
    const strides = [1, grid.size[0], grid.size[0] * grid.size[1]];
    return Float64Array.from(reference, (dose, i) => {
        if (dose <= criterion.cutoffDose) {
            return -1;
        }
        const scale = (criterion.doseDifference / 100) * (criterion.local ? dose : criterion.normalisationDose);
        let slope = 0;
        for (let a = 0; a < 3; ++a) {
            const from = reference[i - strides[a]] ?? dose;
            const to = reference[i + strides[a]] ?? dose;
            slope += ((to - from) / (2 * grid.spacing[a])) ** 2;
        }
        return Math.abs(evaluation[i] - dose) / Math.hypot(scale, criterion.distance * Math.sqrt(slope));
    });
}

function percentile(sorted, percent) {
    return sorted[Math.max(Math.ceil((percent / 100) * sorted.length) - 1, 0)];
}

function verdict(passRate) {
    if (passRate >= limits.tolerance) {
        return 'pass';
    }
    return passRate >= limits.action ? 'investigate' : 'fail';
}

function histogram(gammas) {
    const counts = [];
    for (const gamma of gammas) {
        const bin = Math.max(Math.ceil(gamma / binWidth - 1e-12) - 1, 0);
        counts[bin] = (counts[bin] ?? 0) + 1;
    }
    return { binWidth, counts: Array.from(counts, (c) => c ?? 0) };
}

function results(gamma) {
    const tested = Float64Array.from(gamma).filter((g) => g >= 0).sort();
    const passed = tested.filter((g) => g <= 1).length;
    const passRate = (100 * passed) / tested.length;
    return {
        tested: tested.length,
        passed,
        failed: tested.length - passed,
        passRate,
        mean: tested.reduce((a, b) => a + b, 0) / tested.length,
        p95: percentile(tested, 95),
        p99: percentile(tested, 99),
        max: tested[tested.length - 1],
        seconds: 0.42,
        verdict: verdict(passRate),
        limits,
        histogram: histogram(tested),
    };
}

function storeGamma(gamma) {
    return Int16Array.from(gamma, (g) => {
        if (g < 0) {
            return -1;
        }
        const rounded = Math.min(Math.round(g * 1000), 32767);
        return g > 1 ? Math.max(rounded, 1001) : rounded;
    });
}

function centred(size, spacing, shift) {
    return { size, spacing, origin: size.map((n, a) => (-(n - 1) / 2) * spacing[a] + shift[a]) };
}

/** A record and its volumes for `fillTemplate`. */
export function sample({ size = [44, 36, 28], spacing = [2, 2.5, 3], noise = 0, otherGrid = false, structures = 0 } = {}) {
    const reference = centred(size, spacing, [10, -20, 130]);
    const evaluation = otherGrid
        ? centred(size.map((n) => Math.round(0.8 * n)), spacing.map((s) => 1.2 * s), [11, -20, 131])
        : reference;
    const reach = size.map((n, a) => (n * spacing[a]) / 2);
    const local = (point) => [point[0] - 10, point[1] + 20, point[2] - 130];
    const [planned, delivered] = [referenceWithin(reach), evaluationWithin(reach)];
    const random = normalNumbers(7);
    const noisy = (dose) => dose + (noise / 100) * prescription * (noise > 0 ? random() : 0);
    const evaluated = (point) => noisy(delivered(local(point)));
    const referenceMap = fillGrid(reference, (p) => noisy(planned(local(p))));
    const evaluationMap = fillGrid(evaluation, evaluated);
    const evaluationOnReference = otherGrid ? fillGrid(reference, evaluated) : evaluationMap;
    const highest = (map) => map.reduce((a, b) => Math.max(a, b), 0);
    const normalisationDose = highest(referenceMap);
    const largest = Math.max(normalisationDose, highest(evaluationMap));
    const decimals = Math.floor(Math.log10(32767 / largest));
    const storeDose = (map) => Int16Array.from(map, (d) => Math.round(d * 10 ** decimals));
    const stored = { reference: storeDose(referenceMap), evaluation: storeDose(evaluationMap) };

    const asked = [
        { label: '3%/3mm', doseDifference: 3, distance: 3, local: false },
        { label: '2%L/2mm', doseDifference: 2, distance: 2, local: true },
    ];
    const gammas = [];
    const criteria = asked.map((criterion, i) => {
        const full = {
            ...criterion,
            cutoffPercent: 10,
            cutoffDose: normalisationDose / 10,
            normalisationDose,
            stepSize: criterion.distance / 10,
            gammaSearchMax: null,
            interpolation: true,
        };
        const gamma = gammaEstimate(reference, referenceMap, evaluationOnReference, full);
        gammas.push(gamma);
        stored[`gamma-${i}`] = storeGamma(gamma);
        return { ...full, ...results(gamma), gammaVolume: `gamma-${i}` };
    });
    const volume = (name, kind, grid, places) => ({
        name, kind, grid, type: 'int16', decimals: places, encoding: 'shuffle+zlib+base64',
    });
    const report = {
        format: 'zarngi-report',
        formatVersion: 1,
        program: { name: 'zarngi', version: '4.10.0' },
        created: '2026-03-01T12:30:00Z',
        command: 'zarngi compare ref.mha eval.mha --report r.html',
        files: {
            // A name that would end a script element if it were not escaped.
            reference: { name: '</script><b>$& plan.mha', format: 'MetaImage', bytes: 177408 },
            evaluation: { name: 'measured.mha', format: 'MetaImage', bytes: 177408 },
        },
        grids: { reference, evaluation },
        orientation: 'LPS',
        doseUnit: 'Gy',
        criteria,
        volumes: [
            volume('reference', 'dose', 'reference', decimals),
            volume('evaluation', 'dose', 'evaluation', decimals),
            ...criteria.map((c) => volume(c.gammaVolume, 'gamma', 'reference', 3)),
        ],
    };
    if (structures > 0) {
        const maps = { reference: referenceMap, evaluation: evaluationOnReference, gammas };
        Object.assign(stored, addStructures(report, structures, maps, results));
    }
    return { report, stored };
}

function main() {
    const { values, positionals } = parseArgs({
        allowPositionals: true,
        options: {
            size: { type: 'string' },
            noise: { type: 'string', default: '0' },
            structures: { type: 'string', default: '0' },
            'other-grid': { type: 'boolean', default: false },
        },
    });
    const [template, out] = positionals;
    const { report, stored } = sample({
        size: values.size?.split(',').map(Number),
        noise: Number(values.noise),
        otherGrid: values['other-grid'],
        structures: Number(values.structures),
    });
    writeFileSync(out, fillTemplate(readFileSync(template, 'utf8'), report, stored));
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
    main();
}
