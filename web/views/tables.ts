import type { Analyses, DoseBand, MapCounts } from './analysis';
import { axisNames, longAxes } from './axes';
import type { Cluster } from './clusters';
import { byId, el } from './dom';
import { fixed, none, plain, signed, whole } from './format';
import { gammaText, nameOfCriterion } from './judged';
import type { Model } from './model';
import type { Criterion } from './record';
import type { Changes, State, Store } from './store';
import { showWarnings } from './summary';

const mostClusters = 10;

/** Pass rate by dose band and the largest failing clusters. */
export class Tables {
    private readonly checked = new Set<number>();

    constructor(
        private readonly model: Model,
        private readonly store: Store,
        private readonly analyses: Analyses,
    ) {
        store.subscribe((state, changes) => this.update(state, changes));
    }

    private update(state: State, changes: Changes): void {
        if (!changes.has('criterion')) {
            return;
        }
        const criterion = this.model.record.criteria[state.criterion];
        const analysis = this.analyses.of(state.criterion);
        if (!analysis) {
            return;
        }
        this.check(state.criterion, analysis.counts);
        byId('band-rows').replaceChildren(...analysis.bands.map(bandRow));
        this.showClusters(analysis.clusters, criterion);
    }

    /** The map in the page and the results of the computation must tell the same story. */
    private check(index: number, { tested, failed }: MapCounts): void {
        const criterion = this.model.record.criteria[index];
        const agree = tested === criterion.tested && failed === criterion.failed;
        if (!agree && !this.checked.has(index)) {
            showWarnings([
                `${nameOfCriterion(criterion)}: the gamma map in this page counts ${whole(failed)} failing of ` +
                    `${whole(tested)} tested voxels, the computation ${whole(criterion.failed)} of ` +
                    `${whole(criterion.tested)}.`,
            ]);
        }
        this.checked.add(index);
    }

    private showClusters(clusters: Cluster[], criterion: Criterion): void {
        const shown = clusters.slice(0, mostClusters);
        byId('cluster-rows').replaceChildren(
            ...shown.map((cluster, i) => this.clusterRow(cluster, i, criterion)),
        );
        const count = clusters.length === 1 ? '1 cluster' : `${whole(clusters.length)} clusters`;
        byId('cluster-note').textContent =
            clusters.length === 0
                ? 'No voxel failed.'
                : `${count} of face-connected failing voxels` +
                  `${clusters.length > mostClusters ? `, the largest ${mostClusters} shown` : ''}. ` +
                  'Position is that of the largest γ; choosing one moves the crosshair there.';
        byId('cluster-table').hidden = clusters.length === 0;
    }

    private clusterRow(cluster: Cluster, i: number, criterion: Criterion): HTMLElement {
        const { grid } = this.model;
        const volume = (cluster.voxels * grid.spacing[0] * grid.spacing[1] * grid.spacing[2]) / 1000;
        const sides = longAxes(this.model.record).map((a) =>
            plain(Math.round(10 * (cluster.to[a] - cluster.from[a] + 1) * grid.spacing[a]) / 10),
        );
        const position = grid.position(cluster.peak);
        const place = position.map((p, a) => `${axisNames[a]} ${fixed(p, 1)}`).join(', ');
        const button = el(
            'button',
            { type: 'button', 'aria-label': `Move the crosshair to cluster ${i + 1} at ${place} mm` },
            String(i + 1),
        );
        const percent = (100 * cluster.meanDifference) / criterion.normalisationDose;
        const row = el(
            'tr',
            { 'data-cluster': i },
            el('th', { scope: 'row' }, button),
            el('td', {}, whole(cluster.voxels)),
            el('td', {}, sides.length < 3 ? none : fixed(volume, 2)),
            el('td', {}, sides.join(' × ')),
            ...position.map((p) => el('td', {}, fixed(p, 1))),
            el('td', {}, gammaText(cluster.maxGamma, criterion, 2)),
            el('td', {}, signed(percent, 1)),
        );
        row.addEventListener('click', () => this.store.update({ cross: cluster.peak }));
        return row;
    }
}

function bandRow(band: DoseBand): HTMLElement {
    const name = Number.isFinite(band.to) ? `${plain(band.from)}–${band.to}` : `> ${plain(band.from)}`;
    const passRate = (100 * (band.tested - band.failed)) / band.tested;
    const bar = el('div', { class: 'band-bar', 'aria-hidden': 'true' });
    const fill = el('div', {});
    fill.style.width = `${passRate}%`;
    bar.append(fill);
    return el(
        'tr',
        {},
        el('th', { scope: 'row' }, name),
        el('td', {}, whole(band.tested)),
        el('td', {}, whole(band.failed)),
        el('td', {}, fixed(passRate, 2)),
        el('td', { class: 'bar-cell' }, band.tested > 0 ? bar : null),
        el('td', {}, fixed(band.meanGamma, 3)),
    );
}
