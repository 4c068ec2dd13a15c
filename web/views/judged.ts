/** How criteria and their figures are told: what a criterion is for, and what its search left open. */

import { fixed, none, plain, whole } from './format';
import type { ComparisonRecord, Criterion, GammaFigures } from './record';

/** "3%/2mm", "PTV*:2%/1mm". */
export function nameOfCriterion(criterion: Criterion): string {
    const patterns = criterion.for ?? [];
    return patterns.length === 0 ? criterion.label : `${patterns.join(',')}:${criterion.label}`;
}

/** What a verdict is about. */
export interface Judged {
    figures: GammaFigures;
    limits: { tolerance: number; action: number };
    /** Null: all tested voxels. */
    structure: string | null;
}

/** A criterion for structures is judged by the one with the worst verdict. */
export function judgedBy(criterion: Criterion, record: ComparisonRecord): Judged {
    const place = (criterion.structures ?? []).findIndex((s) => s !== null && s.name === criterion.judged);
    const figures = criterion.structures?.[place];
    const limits = record.structures?.list[place]?.limits;
    return criterion.judged && figures && limits
        ? { figures: { ...figures, verdict: criterion.verdict }, limits, structure: criterion.judged }
        : { figures: criterion, limits: criterion.limits, structure: null };
}

/** What is tested: "voxels", "places" of a plane, "points". */
export function placesName(record: ComparisonRecord): string {
    const measured = record.measurements?.reference;
    return !measured ? 'voxels' : measured.kind === 'points' ? 'points' : 'places';
}

/** A gamma: of one beyond the limit of the search no more is known than that it is. */
export function gammaText(gamma: number | null, criterion: Criterion, decimals = 3): string {
    const limit = criterion.gammaSearchMax ?? Infinity;
    return gamma !== null && gamma > limit ? `above ${plain(limit)}` : fixed(gamma, decimals);
}

/** What was found beyond the limit of the search is no less than gamma is. */
export function meanText({ mean, beyondLimit }: GammaFigures, decimals = 3): string {
    const text = fixed(mean, decimals);
    return beyondLimit && text !== none ? `at most ${text}` : text;
}

/** How many of the failed ones have too much dose, and too little, and what of the others is known. */
export function sidesText({ failed, hot, cold, unreached }: GammaFigures): string {
    if (hot == null || cold == null) {
        return '';
    }
    const lost = unreached ?? 0;
    const rest = failed - hot - cold - lost;
    return [
        `: ${whole(hot)} hot, ${whole(cold)} cold`,
        lost > 0 ? `, ${whole(lost)} without evaluation dose in reach` : '',
        rest > 0 ? `, ${whole(rest)} on neither side` : '',
    ].join('');
}
