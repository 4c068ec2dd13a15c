// Structures for the page of samplePage.mjs: ellipsoids with contours, some of them as masks only.
const colours = ['#e6194b', '#3cb44b', '#ffe119', '#4363d8', '#f58231', '#911eb4', '#42d4f4', '#f032e6'];
const limits = { tolerance: 95, action: 90 };
export const dvhBinWidth = 0.5;

/** Reproducible numbers from 0 to 1. */
function uniformNumbers(seed) {
    let state = seed;
    return () => {
        state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
        return (state + 0.5) / 4294967296;
    };
}

function makeEllipsoid(grid, uniform) {
    const reach = grid.size.map((n, a) => (n * grid.spacing[a]) / 2);
    const middle = grid.size.map((n, a) => grid.origin[a] + ((n - 1) / 2) * grid.spacing[a]);
    const centre = middle.map((m, a) => m + (uniform() - 0.5) * reach[a]);
    const radii = reach.map((r) => (0.12 + 0.25 * uniform()) * r);
    return { centre, radii };
}

function runsOf(grid, { centre, radii }) {
    const runs = [];
    const share = (axis, index) =>
        (grid.origin[axis] + index * grid.spacing[axis] - centre[axis]) / radii[axis];
    for (let z = 0; z < grid.size[2]; ++z) {
        for (let y = 0; y < grid.size[1]; ++y) {
            const rest = 1 - share(2, z) ** 2 - share(1, y) ** 2;
            const inside = Array.from({ length: grid.size[0] }, (_, x) => x).filter((x) => share(0, x) ** 2 < rest);
            if (inside.length > 0) {
                runs.push(z, y, inside[0], inside[inside.length - 1] + 1);
            }
        }
    }
    return Int32Array.from(runs);
}

/** A polygon in each slice of the grid that the ellipsoid reaches. */
function contoursOf(grid, { centre, radii }) {
    const corners = 120;
    const stored = [];
    const micrometres = (mm) => Math.round(1000 * mm);
    for (let k = 0; k < grid.size[2]; ++k) {
        const z = grid.origin[2] + k * grid.spacing[2];
        const rest = 1 - ((z - centre[2]) / radii[2]) ** 2;
        if (rest > 0) {
            stored.push(corners, micrometres(z));
            let last = [0, 0];
            for (let i = 0; i < corners; ++i) {
                const angle = (2 * Math.PI * i) / corners;
                const vertex = [
                    micrometres(centre[0] + radii[0] * Math.sqrt(rest) * Math.cos(angle)),
                    micrometres(centre[1] + radii[1] * Math.sqrt(rest) * Math.sin(angle)),
                ];
                stored.push(vertex[0] - last[0], vertex[1] - last[1]);
                last = vertex;
            }
        }
    }
    return Int32Array.from(stored);
}

export function voxelsOf(grid, runs) {
    const voxels = [];
    for (let i = 0; i < runs.length; i += 4) {
        for (let x = runs[i + 2]; x < runs[i + 3]; ++x) {
            voxels.push((runs[i] * grid.size[1] + runs[i + 1]) * grid.size[0] + x);
        }
    }
    return voxels;
}

function dosesOf(map, voxels) {
    const doses = voxels.map((v) => map[v]).sort((a, b) => a - b);
    const at = (percent) => doses[Math.min(Math.floor(((100 - percent) / 100) * doses.length), doses.length - 1)];
    const bins = Math.floor(doses.at(-1) / dvhBinWidth) + 2;
    return {
        min: doses[0],
        mean: doses.reduce((a, b) => a + b, 0) / doses.length,
        max: doses.at(-1),
        metrics: { D98: at(98), D95: at(95), D50: at(50), D2: at(2), 'D0.03cc': null },
        withoutDose: 0,
        curve: Array.from({ length: bins }, (_, i) => doses.filter((d) => d >= i * dvhBinWidth).length / doses.length),
    };
}

function difference(reference, evaluation) {
    const minus = (a, b) => (a === null || b === null ? null : a - b);
    const metrics = Object.fromEntries(
        Object.keys(reference.metrics).map((name) => [name, minus(evaluation.metrics[name], reference.metrics[name])]),
    );
    return Object.fromEntries([
        ...['min', 'mean', 'max'].map((name) => [name, evaluation[name] - reference[name]]),
        ['metrics', metrics],
    ]);
}

/**
 * Adds so many structures to a report of `sample`; returns their integers by the names of elements.
 * @param maps reference and evaluation on the reference grid, and a gamma map for each criterion
 * @param results of an array of gammas, as a criterion has them
 */
export function addStructures(report, count, maps, results) {
    const grid = report.grids.reference;
    const uniform = uniformNumbers(11);
    const elements = {};
    const parts = [];
    const list = Array.from({ length: count }, (_, i) => {
        const ellipsoid = makeEllipsoid(grid, uniform);
        const runs = runsOf(grid, ellipsoid);
        const voxels = voxelsOf(grid, runs);
        parts.push(voxels);
        elements[`structure-${i}-voxels`] = runs;
        const isMask = i % 4 === 3;
        if (!isMask) {
            elements[`structure-${i}-contours`] = contoursOf(grid, ellipsoid);
        }
        const doses = { reference: dosesOf(maps.reference, voxels), evaluation: dosesOf(maps.evaluation, voxels) };
        return {
            name: i === 1 ? 'Organ <b>&' : `Structure ${i + 1}`,
            number: i + 1,
            type: i === 0 ? 'PTV' : 'ORGAN',
            colour: colours[i % colours.length],
            voxels: voxels.length,
            volume: (voxels.length * grid.spacing.reduce((a, b) => a * b)) / 1000,
            notes: i === 2 ? ['has a gap: 9 mm above z = 121 mm'] : [],
            limits,
            dvh: { ...doses, difference: difference(doses.reference, doses.evaluation) },
            voxelsElement: `structure-${i}-voxels`,
            contoursElement: isMask ? null : `structure-${i}-contours`,
        };
    });
    report.structures = { dvhBinWidth, list, refused: [{ name: 'Tilted', reason: 'has contours that are not flat' }] };
    const covered = new Set(parts.flat());
    report.criteria.forEach((criterion, i) => {
        const part = (name, gammas) => {
            const tested = gammas.some((g) => g >= 0);
            const none = { passRate: null, mean: null, p95: null, p99: null, max: null, verdict: 'none' };
            return { name, ...results(gammas), ...(tested ? {} : none) };
        };
        criterion.structures = parts.map((voxels, s) => part(list[s].name, voxels.map((v) => maps.gammas[i][v])));
        const outside = Array.from(maps.gammas[i]).filter((_, v) => !covered.has(v));
        criterion.outsideStructures = part(null, outside);
    });
    return elements;
}
