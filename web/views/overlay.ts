import type { AxisEnds } from './axes';
import type { Frame } from './frame';
import { isolines, type Line } from './isodose';
import type { Triple } from './record';
import type { Field } from './volume';

/** Isodose levels, % of the normalisation dose. */
export const isodoseLevels = [20, 50, 80, 95];

type Context = CanvasRenderingContext2D;

const crosshairGap = 7;
const minimumLabelLength = 40;
const longestRuler = 90;

/**
 * Isodoses of the reference (solid, labelled) and the evaluation (dashed) in a slice; without a
 * reference, which may have no dose between its places, those of the evaluation alone.
 */
export function drawIsodoses(
    context: Context,
    frame: Frame,
    slice: number,
    doses: { reference: Field | null; evaluation: Field; normalisation: number },
): void {
    const reference = doses.reference && planeValues(frame, slice, doses.reference);
    const evaluation = planeValues(frame, slice, doses.evaluation);
    const plane = { width: frame.columns, height: frame.rows };
    context.save();
    context.lineJoin = 'round';
    const labels: (() => void)[] = [];
    for (const level of isodoseLevels) {
        const dose = (level / 100) * doses.normalisation;
        const solid = reference ? isolines({ ...plane, values: reference }, dose) : [];
        outline(context, linePath(frame, isolines({ ...plane, values: evaluation }, dose)), [4, 3]);
        outline(context, linePath(frame, solid), []);
        labels.push(() => labelLines(context, frame, solid, level));
    }
    labels.forEach((draw) => draw());
    context.restore();
}

function planeValues(frame: Frame, slice: number, field: Field): Float32Array {
    const values = new Float32Array(frame.columns * frame.rows);
    let next = 0;
    frame.visit(slice, (index) => {
        values[next++] = field.value(index) || 0;
    });
    return values;
}

function linePath(frame: Frame, lines: Line[]): Path2D {
    const path = new Path2D();
    for (const line of lines) {
        path.moveTo(frame.across(line[0]), frame.down(line[1]));
        for (let i = 2; i < line.length; i += 2) {
            path.lineTo(frame.across(line[i]), frame.down(line[i + 1]));
        }
    }
    return path;
}

/** A white line with a dark rim, visible on every colour. */
function outline(context: Context, path: Path2D, dash: number[]): void {
    context.setLineDash(dash);
    context.strokeStyle = 'rgb(0 0 0 / 0.5)';
    context.lineWidth = 2.4;
    context.stroke(path);
    context.strokeStyle = 'rgb(255 255 255 / 0.9)';
    context.lineWidth = 1;
    context.stroke(path);
}

function labelLines(context: Context, frame: Frame, lines: Line[], level: number): void {
    const longest = lines.reduce((a, b) => (b.length > a.length ? b : a), [] as Line);
    if (longest.length < minimumLabelLength) {
        return;
    }
    // Labels of neighbouring levels start at different places, so that they do not collide.
    const share = 0.15 + (0.7 * isodoseLevels.indexOf(level)) / isodoseLevels.length;
    const at = 2 * Math.floor((share * longest.length) / 2);
    drawText(context, String(level), frame.across(longest[at]), frame.down(longest[at + 1]), 'center', 10);
}

/** A circle with a point in it, as treatment machines mark it. */
export function drawIsocentre(context: Context, [x, y]: [number, number]): void {
    const radius = 6;
    const path = new Path2D();
    path.arc(x, y, radius, 0, 2 * Math.PI);
    path.moveTo(x + 1.2, y);
    path.arc(x, y, 1.2, 0, 2 * Math.PI);
    context.save();
    outline(context, path, []);
    context.restore();
    drawText(context, 'iso', x + radius + 3, y, 'left', 10);
}

export function drawCrosshair(context: Context, frame: Frame, cross: Triple): void {
    const x = frame.across(frame.column(cross));
    const y = frame.down(frame.row(cross));
    const path = new Path2D();
    for (const [x0, y0, x1, y1] of [
        [0, y, x - crosshairGap, y],
        [x + crosshairGap, y, frame.width, y],
        [x, 0, x, y - crosshairGap],
        [x, y + crosshairGap, x, frame.height],
    ]) {
        path.moveTo(x0, y0);
        path.lineTo(x1, y1);
    }
    outline(context, path, []);
}

/** The letters of the patient's sides at the edges of a picture. */
export function drawEnds(
    context: Context,
    frame: Frame,
    horizontal: AxisEnds,
    [top, bottom]: [string, string],
): void {
    drawText(context, horizontal.low, 6, frame.height / 2, 'left', 12);
    drawText(context, horizontal.high, frame.width - 6, frame.height / 2, 'right', 12);
    drawText(context, top, frame.width / 2, 11, 'center', 12);
    drawText(context, bottom, frame.width / 2, frame.height - 11, 'center', 12);
}

/** A bar of a round length in mm. */
export function drawRuler(context: Context, frame: Frame): void {
    const perMm = frame.width / frame.extent.width;
    const length = [200, 100, 50, 20, 10, 5, 2, 1].find((mm) => mm * perMm < longestRuler);
    if (!length) {
        return;
    }
    const y = frame.height - 9;
    const path = new Path2D();
    path.moveTo(8, y);
    path.lineTo(8 + length * perMm, y);
    outline(context, path, []);
    drawText(context, `${length} mm`, 8, y - 9, 'left', 10);
}

function drawText(
    context: Context,
    label: string,
    x: number,
    y: number,
    align: CanvasTextAlign,
    size: number,
): void {
    context.font = `600 ${size}px system-ui, sans-serif`;
    context.textAlign = align;
    context.textBaseline = 'middle';
    context.setLineDash([]);
    context.lineJoin = 'round';
    context.lineWidth = 3;
    context.strokeStyle = 'rgb(0 0 0 / 0.75)';
    context.strokeText(label, x, y);
    context.fillStyle = '#fff';
    context.fillText(label, x, y);
}
