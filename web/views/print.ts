import { withChartSize } from './chart';
import { byId } from './dom';
import type { DoseVolume } from './doseVolume';
import type { Histogram } from './histogram';
import type { Profiles } from './profiles';
import type { Store } from './store';
import { applyTheme } from './theme';
import type { Viewer } from './viewer';

/** A4 with margins of 10 mm, in CSS pixels. */
const paper = { width: 718, height: 1040 };
const slices = { tallest: 260, lowest: 200 };
const chartSize = { text: 8, zoom: 3 };

/** Of all that goes on the first sheet. */
function heightOfSheet(main: HTMLElement): number {
    const later = ['structures', 'dose-volume', 'figure-card'].map((id) => byId(id)).filter((section) => !section.hidden);
    return later.reduce((height, section) => height - section.offsetHeight, main.scrollHeight);
}

export interface Printed {
    store: Store;
    /** Null: the comparison is one of points. */
    viewer: Viewer | null;
    profiles: Profiles | null;
    histogram: Histogram;
    /** Null: the comparison has no structures. */
    doseVolume: DoseVolume | null;
}

/**
 * Lays the page out for one sheet of paper before printing and back again afterwards; structures
 * follow on sheets of their own.
 */
export function setUpPrint({ store, viewer, profiles, histogram, doseVolume }: Printed): void {
    const root = document.documentElement;
    const main = byId('page');
    const prepare = (): void => {
        root.classList.add('printing');
        applyTheme('light');
        store.flush();
        viewer?.drawForPrint(paper.width, slices.tallest);
        withChartSize(chartSize, () => {
            profiles?.drawForPrint(Math.floor((paper.width - 36) / 3), 112);
            histogram.drawForPrint(Math.floor((paper.width - 44) / 2), 138);
            doseVolume?.drawForPrint(paper.width - 24, 300);
        });
        // What does not fit is taken from the slices first; then everything gets smaller.
        const surplus = heightOfSheet(main) - paper.height;
        if (surplus > 0) {
            viewer?.drawForPrint(paper.width, Math.max(slices.tallest - surplus, slices.lowest));
        }
        const scale = Math.min(1, paper.height / heightOfSheet(main));
        main.style.setProperty('zoom', String(scale));
    };
    const restore = (): void => {
        root.classList.remove('printing');
        main.style.removeProperty('zoom');
        applyTheme();
        store.redraw();
    };
    window.addEventListener('beforeprint', prepare, { signal: store.ended });
    window.addEventListener('afterprint', restore, { signal: store.ended });
    byId('print').addEventListener('click', () => window.print());
}
