import { withChartSize } from './chart';
import { byId } from './dom';
import type { Histogram } from './histogram';
import type { Profiles } from './profiles';
import type { Store } from './store';
import { applyTheme } from './theme';
import type { Viewer } from './viewer';

/** A4 with margins of 10 mm, in CSS pixels. */
const paper = { width: 718, height: 1040 };
const slices = { tallest: 260, lowest: 200 };
const chartSize = { text: 8, zoom: 3 };

/** Lays the page out for one sheet of paper before printing and back again afterwards. */
export function setUpPrint(store: Store, viewer: Viewer, profiles: Profiles, histogram: Histogram): void {
    const root = document.documentElement;
    const main = byId('page');
    const prepare = (): void => {
        root.classList.add('printing');
        applyTheme('light');
        store.flush();
        viewer.drawForPrint(paper.width, slices.tallest);
        withChartSize(chartSize, () => {
            profiles.drawForPrint(Math.floor((paper.width - 36) / 3), 112);
            histogram.drawForPrint(Math.floor((paper.width - 44) / 2), 138);
        });
        // What does not fit is taken from the slices first; then everything gets smaller.
        const surplus = main.scrollHeight - paper.height;
        if (surplus > 0) {
            viewer.drawForPrint(paper.width, Math.max(slices.tallest - surplus, slices.lowest));
        }
        const scale = Math.min(1, paper.height / main.scrollHeight);
        main.style.setProperty('zoom', String(scale));
    };
    const restore = (): void => {
        root.classList.remove('printing');
        main.style.removeProperty('zoom');
        applyTheme();
        store.redraw();
    };
    window.addEventListener('beforeprint', prepare);
    window.addEventListener('afterprint', restore);
    byId('print').addEventListener('click', () => window.print());
}
