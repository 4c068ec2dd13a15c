/** What the statistical noise of the doses does, as far as the record tells it. */

import { byId, el } from './dom';
import { fixed, none, plain, signed, whole } from './format';
import type { ComparisonRecord, NoiseDifferences, NoiseRecord } from './record';

function nameOf({ structure, doses }: NoiseDifferences): string {
    if (structure !== null) {
        return structure;
    }
    return doses ? `${plain(doses[0])} to ${plain(doses[1])} % of the normalisation dose` : 'All tested voxels';
}

function percent(share: number | null): string {
    return share === null ? none : fixed(100 * share, 2);
}

/** Two decimals; the shares of noise alone are told in the head. */
function rowOf(told: NoiseDifferences): HTMLElement {
    return el(
        'tr',
        {},
        el('th', { scope: 'row', class: 'word' }, nameOf(told)),
        el('td', {}, whole(told.voxels)),
        el('td', {}, told.mean === null ? none : signed(told.mean, 2)),
        el('td', {}, told.deviation === null ? none : fixed(told.deviation, 2)),
        el('td', {}, percent(told.beyondTwo)),
        el('td', {}, percent(told.beyondThree)),
    );
}

function flatText({ flat }: NoiseRecord): string {
    const { voxels, chiSquare, scatter, correlation } = flat;
    if (chiSquare === null) {
        return 'No region of low dose gradient.';
    }
    const parts = [
        `chi-square ${fixed(chiSquare, 3)} for each of ${whole(voxels)} voxels`,
        ...(scatter === null ? [] : [`scatter ${fixed(scatter, 2)} u`]),
        ...(correlation === null ? [] : [`correlation of neighbours ${signed(correlation, 2)}`]),
    ];
    return `Where the dose gradient is low: ${parts.join(', ')}.`;
}

/** The differences in units of their combined uncertainty; nothing where they were not asked for. */
export function showNoise({ noise }: ComparisonRecord): void {
    if (!noise) {
        return;
    }
    byId('noise-card').hidden = false;
    byId('noise-rows').replaceChildren(...noise.differences.map(rowOf));
    byId('noise-flat').textContent = flatText(noise);
    byId('noise-notes').replaceChildren(...noise.notes.map((note) => el('p', {}, `Note: ${note}.`)));
}
