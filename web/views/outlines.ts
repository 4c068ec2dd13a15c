import type { Plane } from './axes';
import type { Frame } from './frame';
import type { Grid } from './grid';
import type { Contour, Shape } from './structureShapes';
import type { Triple } from './record';

/** The outline of a structure in a slice: its contours in axial slices, else the edge of its voxels. */
export function outlinePath(shape: Shape, grid: Grid, plane: Plane, frame: Frame, slice: number): Path2D {
    const isAxial = plane.normal === 2;
    return isAxial && shape.contours.length > 0
        ? contourPath(shape.contoursAt(grid, slice), frame)
        : edgePath(shape, plane, frame, slice);
}

function contourPath(contours: Contour[], frame: Frame): Path2D {
    const path = new Path2D();
    for (const { points } of contours) {
        for (let i = 0; i < points.length; i += 2) {
            const [x, y] = frame.place(points[i], points[i + 1]);
            if (i === 0) {
                path.moveTo(x, y);
            } else {
                path.lineTo(x, y);
            }
        }
        path.closePath();
    }
    return path;
}

/** Lines between voxels inside and outside. */
function edgePath(shape: Shape, plane: Plane, frame: Frame, slice: number): Path2D {
    const width = frame.columns + 2; // with a voxel around that is outside
    const inside = new Uint8Array(width * (frame.rows + 2));
    visitSlice(shape, plane, slice, (voxel) => {
        const column = frame.column(voxel);
        const row = frame.row(voxel);
        if (column >= 0 && column < frame.columns && row >= 0 && row < frame.rows) {
            inside[(row + 1) * width + column + 1] = 1;
        }
    });
    const path = new Path2D();
    const line = (fromColumn: number, fromRow: number, toColumn: number, toRow: number): void => {
        path.moveTo(frame.across(fromColumn - 0.5), frame.down(fromRow - 0.5));
        path.lineTo(frame.across(toColumn - 0.5), frame.down(toRow - 0.5));
    };
    for (let row = 0; row <= frame.rows; ++row) {
        for (let column = 0; column <= frame.columns; ++column) {
            const at = (row + 1) * width + column + 1;
            if (inside[at] !== inside[at - width]) {
                line(column, row, column + 1, row);
            }
            if (inside[at] !== inside[at - 1]) {
                line(column, row, column, row + 1);
            }
        }
    }
    return path;
}

/** Calls `take` with the voxels of a structure in a slice. */
function visitSlice(shape: Shape, plane: Plane, slice: number, take: (voxel: Triple) => void): void {
    const { runs } = shape;
    for (let i = 0; i < runs.length; i += 4) {
        const [z, y, begin, end] = [runs[i], runs[i + 1], runs[i + 2], runs[i + 3]];
        if (plane.normal === 0) {
            if (begin <= slice && slice < end) {
                take([slice, y, z]);
            }
        } else if ((plane.normal === 1 ? y : z) === slice) {
            for (let x = begin; x < end; ++x) {
                take([x, y, z]);
            }
        }
    }
}

/** A line in the structure's colour with a dark rim, visible on every picture. */
export function drawOutline(context: CanvasRenderingContext2D, path: Path2D, colour: string): void {
    context.save();
    context.lineJoin = 'round';
    context.strokeStyle = 'rgb(0 0 0 / 0.6)';
    context.lineWidth = 3;
    context.stroke(path);
    context.strokeStyle = colour;
    context.lineWidth = 1.6;
    context.stroke(path);
    context.restore();
}
