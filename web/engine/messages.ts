/**
 * What a page and its worker tell one another. Paths are those of the files that the page was given
 * ("folder/file.dcm", or a bare name); all sentences are those of the command-line program.
 */

import type { ComparisonRecord, GridRecord } from '../views/record';

/** What is asked of a comparison. Numbers are as typed: texts, empty for the usual value. */
export interface CompareRequest {
    reference: string;
    evaluation: string;
    /** DICOM RT Structure Sets and label masks. */
    structures: string[];
    /** As on the command line: "3%/2mm", "2%L/2mm", "PTV*:2%/1mm"; at least one. */
    criteria: string[];
    /** %; Gy, or "evaluation"; gamma; mm. */
    cutOff?: string;
    normalisation?: string;
    /** "X,Y[,Z]", mm: the reference's dose there is that of 100 %. */
    normalisationAt?: string;
    /** Where a plane lies: "axial", "coronal", "sagittal", "gantry:30"; its point 0, 0 at "X,Y,Z", mm. */
    plane?: string;
    at?: string;
    /** "1.02", "1/33". */
    referenceScale?: string;
    evaluationScale?: string;
    /** Doses that are added, on the same grid. */
    referenceAdded?: string[];
    evaluationAdded?: string[];
    maxGamma?: string;
    step?: string;
    nearest?: boolean;
    /** Interpolates within planes of constant z only. */
    slices?: boolean;
    /** "95", "PTV*:98". */
    tolerance?: string[];
    action?: string[];
    failBelow?: string[];
    /** Names and expressions of structures: "PTV*", "ring=PTV57-PTV67". */
    shown?: string[];
    excluded?: string[];
    /** Voxels of these alone are tested. */
    within?: string;
    /** Lists like "D99,D1cc,V20Gy". */
    metrics?: string[];
    /** Gy. */
    prescription?: string;
    ignoreFrame?: boolean;
    /** Whether to find the shift and the factor that explain what fails, in a structure or everywhere. */
    explain?: boolean;
    /** mm. */
    explainRange?: string;
    explainStructure?: string;
    /** Kept in the record. */
    command?: string;
}

export interface DoseFacts {
    /** Of the values: another file where a header stands alone. */
    dataPath: string;
    format: string;
    grid: GridRecord & { minimum: number };
    doseUnit: string;
    /** Null: a volume. */
    measurement: { kind: 'grid' | 'plane' | 'points'; places: number; measured: number } | null;
    warnings: string[];
    dicom?: { summationType: string; doseType: string; planLabel: string; frameOfReference: string };
}

export interface StructureFacts {
    dataPath: string;
    format: string;
    label: string;
    names: string[];
    warnings: string[];
}

/** What a file is. A mask is a dose of whole numbers, too; foreign files are none of these. */
export type FileFacts = { path: string } & (
    | ({ kind: 'dose' } & DoseFacts)
    | ({ kind: 'mask'; mask: StructureFacts } & DoseFacts)
    | ({ kind: 'structures' } & StructureFacts)
    | { kind: 'foreign' | 'refused'; sentence: string }
);

export interface ComparisonAnswer {
    record: ComparisonRecord;
    /** Whether a pass rate is below a limit of `failBelow`. */
    isBelowLimit: boolean;
}

/** %; null where nothing was tested. In the order of the record's structures. */
export interface RatesAnswer {
    passRate: number | null;
    structures: (number | null)[];
}

export interface Progress {
    criterion: string;
    /** 1 is the innermost; the search may end before the last one. 0: of work without shells. */
    shell: number;
    shellLimit: number;
    /** Of this shell, or of the work, 0 to 1. */
    share: number;
}

export type ExamplePart = 'reference' | 'evaluation' | 'structures';
/** gammaAfter: with what explains the failed voxels. */
export type VolumeName = 'reference' | 'evaluation' | 'gamma' | 'gammaAfter';
export type StructurePart = 'voxels' | 'contours';

export interface EngineError {
    error: string;
    /** usage: of the request; input: of a file or the pair; memory; internal: a fault of this page. */
    kind: 'usage' | 'input' | 'memory' | 'internal';
}
