/** mm of a picture. */
export interface Extent {
    width: number;
    height: number;
}

/**
 * How the three views stand: beside one another, the first beside the other two, or one below the
 * other.
 */
export type Arrangement = 'row' | 'block' | 'column';

export interface Space {
    /** CSS pixels for all views together. */
    width: number;
    height: number;
    /** Between two views, and what a view needs above and below its picture. */
    gap: number;
    trimmings: number;
}

export interface Layout {
    arrangement: Arrangement;
    /** CSS pixels per mm, the same for all views. */
    scale: number;
}

/** The arrangement that shows the views largest; a column where a row would be too narrow. */
export function arrange(views: Extent[], space: Space, narrow: boolean): Layout {
    const widths = views.map((v) => v.width);
    const heights = views.map((v) => v.height);
    const sum = (numbers: number[]) => numbers.reduce((a, b) => a + b, 0);
    if (narrow) {
        const scale = Math.min(space.width / Math.max(...widths), space.height / Math.max(...heights));
        return { arrangement: 'column', scale };
    }
    const { gap, trimmings } = space;
    const row = Math.min(
        (space.width - gap * (views.length - 1)) / sum(widths),
        space.height / Math.max(...heights),
    );
    if (views.length === 1) {
        return { arrangement: 'row', scale: row };
    }
    const block = Math.min(
        (space.width - gap) / (widths[0] + Math.max(...widths.slice(1))),
        space.height / heights[0],
        (space.height - trimmings) / sum(heights.slice(1)),
    );
    return block > row ? { arrangement: 'block', scale: block } : { arrangement: 'row', scale: row };
}
