/** What the package has written into this page; README.md describes it. */

export type Rate = number | null;

export interface Pairs {
    id: string[];
    group: string[];
    /** ISO 8601; empty: not told. */
    date: string[];
    /** Further columns of the manifest. */
    labels: Record<string, string>[];
    /** File of the pair's own page. */
    page: (string | null)[];
    /** Why there are no results. */
    error: (string | null)[];
}

/** The results of one criterion and one structure, in columns. */
export interface Series {
    criterion: string;
    doseDifference: number;
    distance: number;
    local: boolean;
    /** Empty: everything tested. */
    structure: string;
    /** Places in `pairs`. */
    pair: number[];
    tested: Rate[];
    failed: Rate[];
    pass_rate: Rate[];
    mean: Rate[];
    p95: Rate[];
    maximum: Rate[];
    /** The pass rate without statistical noise and its interval, where a pair has one. */
    without_noise?: Rate[];
    without_noise_lower?: Rate[];
    without_noise_upper?: Rate[];
}

export type Beyond = '' | 'action' | 'process' | 'range';

/** Limits of a group by one criterion, all in % pass rate; the places are in order of date. */
export interface Limits {
    group: string;
    criterion: string;
    structure: string;
    centre: number;
    sigma: number;
    meanRange: number;
    lower: number;
    upper: number;
    rangeLimit: number;
    action: number;
    hasEnough: boolean;
    hasDates: boolean;
    pair: number[];
    beyond: Beyond[];
}

export interface CohortRecord {
    format: string;
    formatVersion: number;
    program: { name: string; version: string };
    title: string;
    /** The column that groups pairs. */
    groupedBy: string;
    /** %. */
    thresholds: { tolerance: number; action: number };
    /** Where the pairs' pages are, as a link; null: nowhere. */
    pagesFolder: string | null;
    pairs: Pairs;
    series: Series[];
    limits: Limits[];
}

export function readCohort(): CohortRecord {
    const element = document.getElementById('zarngi-data');
    if (!element) {
        throw new Error('This page holds no cohort.');
    }
    const record = JSON.parse(element.textContent ?? '') as CohortRecord;
    if (record.format !== 'zarngi-cohort' || record.formatVersion !== 1) {
        throw new Error('This page cannot show a cohort of this format.');
    }
    return record;
}
