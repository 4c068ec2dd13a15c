/** Isodose lines by marching squares. */

/** A line through a slice: x0, y0, x1, y1, ... in voxels, whole numbers at voxel centres. */
export type Line = number[];

/** Values of a slice, row by row. */
export interface Plane {
    width: number;
    height: number;
    values: Float32Array;
}

/**
 * Which edges of a cell (0 top, 1 right, 2 bottom, 3 left) a line joins, by which of its corners
 * (1 top left, 2 top right, 4 bottom right, 8 bottom left) lie at or above the level.
 */
const cellEdges: number[][] = [
    [], [3, 0], [0, 1], [3, 1], [1, 2], [3, 0, 1, 2], [0, 2], [3, 2],
    [2, 3], [2, 0], [0, 1, 2, 3], [2, 1], [1, 3], [1, 0], [0, 3], [],
];

export function isolines(plane: Plane, level: number): Line[] {
    const neighbours = joinedEdges(plane, level);
    const lines: Line[] = [];
    const visited = new Set<number>();
    const walk = (start: number): void => {
        const line: Line = [];
        let edge: number | undefined = start;
        while (edge !== undefined && !visited.has(edge)) {
            visited.add(edge);
            line.push(...crossing(plane, level, edge));
            edge = neighbours.get(edge)?.find((e) => !visited.has(e));
        }
        if (neighbours.get(start)?.length === 2) {
            line.push(line[0], line[1]);
        }
        lines.push(line);
    };
    // Open lines end at an edge with one neighbour and are walked first; the rest is closed.
    for (const [edge, joined] of neighbours) {
        if (joined.length === 1 && !visited.has(edge)) {
            walk(edge);
        }
    }
    for (const edge of neighbours.keys()) {
        if (!visited.has(edge)) {
            walk(edge);
        }
    }
    return lines;
}

/** Edges are numbered 2·(x + width·y) + d: d = 0 from (x, y) to the right, 1 downwards. */
function joinedEdges(plane: Plane, level: number): Map<number, number[]> {
    const { width, height, values } = plane;
    const neighbours = new Map<number, number[]>();
    const join = (a: number, b: number): void => {
        const joined = neighbours.get(a);
        if (joined) {
            joined.push(b);
        } else {
            neighbours.set(a, [b]);
        }
    };
    for (let y = 0; y + 1 < height; ++y) {
        for (let x = 0; x + 1 < width; ++x) {
            const at = x + width * y;
            const corners =
                (values[at] >= level ? 1 : 0) |
                (values[at + 1] >= level ? 2 : 0) |
                (values[at + 1 + width] >= level ? 4 : 0) |
                (values[at + width] >= level ? 8 : 0);
            if (corners === 0 || corners === 15) {
                continue;
            }
            const edges = [2 * at, 2 * (at + 1) + 1, 2 * (at + width), 2 * at + 1];
            const sides = cellEdges[corners];
            for (let s = 0; s < sides.length; s += 2) {
                join(edges[sides[s]], edges[sides[s + 1]]);
                join(edges[sides[s + 1]], edges[sides[s]]);
            }
        }
    }
    return neighbours;
}

function crossing(plane: Plane, level: number, edge: number): [number, number] {
    const downwards = edge % 2;
    const at = (edge - downwards) / 2;
    const x = at % plane.width;
    const y = (at - x) / plane.width;
    const from = plane.values[at];
    const to = plane.values[downwards ? at + plane.width : at + 1];
    const fraction = (level - from) / (to - from);
    return downwards ? [x, y + fraction] : [x + fraction, y];
}
