/**
 * What a page and its worker tell one another. Paths are those of the files that the page was given
 * ("folder/file.dcm", or a bare name); all sentences are those of the command-line program.
 */

import type { ComparisonRecord, GridRecord, HeaderRecord, Triple } from '../views/record';
import type { RequestDocument, TableUnits } from './request';

export interface DoseFacts {
    /** Of the values: another file where a header stands alone. */
    dataPath: string;
    format: string;
    grid: GridRecord & { minimum: number };
    doseUnit: string;
    /** Null: a volume. */
    measurement: { kind: 'grid' | 'plane' | 'points'; places: number; measured: number } | null;
    warnings: string[];
    dicom?: {
        summationType: string;
        doseType: string;
        planLabel: string;
        frameOfReference: string;
        /** UIDs, as are those of the plans and of the objects that it was derived from. */
        sopInstance: string;
        plans: string[];
        origins: string[];
    };
}

export interface StructureFacts {
    dataPath: string;
    format: string;
    label: string;
    names: string[];
    warnings: string[];
}

export interface PlanFacts {
    dataPath: string;
    format: string;
    label: string;
    sopInstance: string;
    /** Of the plans that it verifies, or was derived from. */
    origins: string[];
    warnings: string[];
}

/** What a file is. A mask is a dose of whole numbers, too; foreign files are none of these. */
export type FileFacts = { path: string } & (
    | ({ kind: 'dose' } & DoseFacts)
    | ({ kind: 'mask'; mask: StructureFacts } & DoseFacts)
    | ({ kind: 'structures' } & StructureFacts)
    | ({ kind: 'plan' } & PlanFacts)
    | { kind: 'foreign' | 'refused'; failure: FailureKind; sentence: string; isDicom: boolean }
);

/** A shipped one. */
export interface ProtocolFacts {
    name: string;
    version: string;
    title: string;
    source: string;
    sha256: string;
}

export interface ComparisonAnswer {
    record: ComparisonRecord;
    /** What the files say of patient and plan: what `identify` adds. */
    headerOfFiles: HeaderRecord;
    /** mm, of the beams of the plans. */
    isocentres: Triple[];
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

/** A dose that is to be a file of another format. */
export interface ConversionAsked {
    path: string;
    /** Of the file to make: its ending tells the format (.dcm, .nrrd, .mha, .nii, .nii.gz). */
    name: string;
    /** A DICOM file whose patient and study an RT Dose gets; empty: nobody's. */
    like: string;
    /** A number or a fraction; empty: 1. */
    scale: string;
    allowErrorDoses: boolean;
    /** Of a dose that tells none. */
    units: TableUnits;
}

/** What was wanted and found of every case, and where. */
export interface SelfTestRecord {
    passed: boolean;
    seconds: number;
    cases: { part: string; name: string; wanted: string; found: string; passed: boolean }[];
}

export type ExamplePart = 'reference' | 'evaluation' | 'structures';
/** inUncertainties: differences in units of their uncertainty, of a comparison with noise. */
export type VolumeName = 'reference' | 'evaluation' | 'inUncertainties';
export type StructurePart = 'voxels' | 'contours';

/** A piece of a sentence: text, a member of the request ("limits.action"), or the path of a file. */
export type SentencePart = { text: string } | { member: string } | { file: string };

/**
 * request: of what is asked; pair: of doses that cannot be compared like that; foreign, damaged,
 * notSupported, system: of a file; internal: a fault of this page.
 */
export type FailureKind =
    | 'request' | 'pair' | 'foreign' | 'damaged' | 'notSupported' | 'system' | 'memory' | 'interrupted' | 'internal';

export interface EngineError {
    /** The sentence in plain words, made of the parts. */
    error: string;
    kind: FailureKind;
    parts: SentencePart[];
    /** The file that it is about, or an empty text. */
    file: string;
    /** Of the request, where it is to be mended: "structures.within", "criteria[1]". */
    member?: string;
}

export interface RequestAnswer {
    request: RequestDocument;
    /** Whether it is not as the protocol that it came from. */
    isChanged: boolean;
}
