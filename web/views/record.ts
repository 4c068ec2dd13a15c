/** The record of a comparison, as README.md defines it. */

export type Triple = [number, number, number];
export type Role = 'reference' | 'evaluation';

export interface FileRecord {
    name: string;
    path?: string | null;
    format?: string | null;
    bytes?: number | null;
    sha256?: string | null;
    description?: string | null;
}

export interface GridRecord {
    size: Triple;
    spacing: Triple;
    origin: Triple;
    maximum?: { dose: number; position: Triple } | null;
}

export type Verdict = 'pass' | 'investigate' | 'fail' | 'none';

export interface Criterion {
    label: string;
    doseDifference: number;
    distance: number;
    local: boolean;
    cutoffPercent: number;
    cutoffDose: number;
    normalisationDose: number;
    stepSize?: number | null;
    gammaSearchMax?: number | null;
    interpolation?: boolean | null;
    tested: number;
    passed: number;
    failed: number;
    passRate: number | null;
    mean: number | null;
    p95: number | null;
    p99: number | null;
    max: number | null;
    seconds?: number | null;
    verdict: Verdict;
    limits: { tolerance: number; action: number };
    histogram: { binWidth: number; counts: number[] };
    gammaVolume: string;
}

export interface VolumeRecord {
    name: string;
    kind: 'dose' | 'gamma';
    grid: Role;
    type: string;
    decimals: number;
    encoding: string;
}

export interface Report {
    format: string;
    formatVersion: number;
    program: { name: string; version: string };
    created: string;
    command?: string | null;
    title?: string | null;
    files: Record<Role, FileRecord>;
    grids: Record<Role, GridRecord>;
    orientation?: string | null;
    doseUnit: string;
    criteria: Criterion[];
    volumes: VolumeRecord[];
    warnings?: string[] | null;
}

/** Reads the record out of the page; throws an Error a reader can act on. */
export function readReport(): Report {
    const element = document.getElementById('zarngi-data');
    if (!element) {
        throw new Error('This page holds no data: it is the empty template of the report.');
    }
    const report = JSON.parse(element.textContent ?? '') as Report;
    if (report.format !== 'zarngi-report' || report.formatVersion !== 1) {
        throw new Error('The data in this page is of a kind this page does not know.');
    }
    if (report.criteria.length === 0) {
        throw new Error('The data in this page holds no criterion.');
    }
    return report;
}
