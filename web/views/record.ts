/**
 * The record of a comparison, as far as the views show it. Lengths in mm, positions of voxel centres
 * in the patient's system, triples in the order x, y, z.
 */

export type Triple = [number, number, number];
export type Role = 'reference' | 'evaluation';

export interface FileRecord {
    /** Without folder. */
    name: string;
    path?: string | null;
    format?: string | null;
    bytes?: number | null;
    /** Lower-case hexadecimal. */
    sha256?: string | null;
    /** Plan label, summation type; only where it was asked for. */
    description?: string | null;
}

/** In the order in which they are shown. */
export const headerFields = [
    'patientName', 'patientId', 'plan', 'beams', 'machine', 'prescription', 'fractions', 'isocentre', 'date',
    'approval', 'series', 'comment', 'performedBy', 'reviewedBy',
] as const;

export type HeaderField = (typeof headerFields)[number];

/** Whose plan it is: what the user gave, and what files say where that was asked for. */
export type HeaderRecord = Record<HeaderField, string | null>;

export interface ProtocolRecord {
    name: string;
    version: string;
    title: string;
    source: string;
    sha256: string;
    /** Whether something that was asked is not as the protocol has it. */
    changed: boolean;
}

export interface GridRecord {
    /** Voxels. */
    size: Triple;
    /** Null across a plane whose file tells no thickness. */
    spacing: [number | null, number | null, number | null];
    /** Centre of the first voxel, not its corner. */
    origin: Triple;
    maximum?: { dose: number; position: Triple } | null;
}

export interface NamedText {
    name: string;
    text: string;
}

/** At or above the tolerance limit, between the limits, below the action limit, nothing tested. */
export type Verdict = 'pass' | 'investigate' | 'fail' | 'none';

/** Bin i counts tested voxels with i·w < gamma ≤ (i+1)·w, as that of a criterion. */
export interface GammaHistogram {
    binWidth: number;
    counts: number[];
}

/** What a criterion gives in all or some of the voxels; null where nothing was tested. */
export interface GammaFigures {
    /** Voxels; tested = passed + failed. */
    tested: number;
    passed: number;
    failed: number;
    /** Failed voxels with more dose than the reference, and with less. */
    hot?: number | null;
    cold?: number | null;
    /** Failed voxels without an evaluation dose in reach. */
    unreached?: number | null;
    /** Voxels with a gamma above the largest one searched for. */
    beyondLimit?: number | null;
    /** %. */
    passRate: number | null;
    mean: number | null;
    p95: number | null;
    p99: number | null;
    max: number | null;
    verdict: Verdict;
    /** What doses without their statistical noise would give, where that is asked for. */
    withoutNoise?: { sentence: string };
    histogram: GammaHistogram | null;
}

/** The figures of a part of the tested voxels. */
export interface PartResult extends GammaFigures {
    /** Of the structure; null: outside of all structures. */
    name: string | null;
}

/** Doses of a structure. */
export interface StructureDoses {
    min: number;
    mean: number;
    max: number;
    /** By name: "D95", "V20Gy"; null where the structure is too small. */
    metrics: Record<string, number | null>;
    /** Points of the structure at which the grid has no dose. */
    withoutDose: number;
    /** Share (0 to 1) of the volume at or above i times the width of the record's bins. */
    curve: number[];
}

export interface StructureRecord {
    name: string;
    type: string;
    /** "#rrggbb". */
    colour: string;
    /** How it is combined from others; null: as its file has it. */
    expression?: string | null;
    voxels: number;
    /** cc. */
    volume: number;
    limits: { tolerance: number; action: number };
    /** What a person should know of it, each continues its name. */
    notes: string[];
    dvh: {
        reference: StructureDoses;
        /** Null where it has no dose in the structure. */
        evaluation: StructureDoses | null;
        difference: { min: number; mean: number; max: number; metrics: Record<string, number | null> } | null;
    } | null;
}

export interface StructuresRecord {
    /** Dose from bin to bin of the curves. */
    dvhBinWidth: number;
    list: StructureRecord[];
    refused?: { name: string; reason: string }[] | null;
}

export type GoalVerdict = 'pass' | 'fail' | 'none';

/** A figure of one dose, or the difference of both. */
export interface GoalPart {
    value: number | null;
    /** To the limit, above 0 within it; null: none is set. */
    margin: number | null;
    verdict: GoalVerdict;
}

/** What is asked of a structure, and whether it is so. */
export interface GoalRecord {
    structure: string;
    /** "D95%", "Dmean", "HI". */
    figure: string;
    /** "<", "<=", ">", ">=", "within". */
    relation: string;
    limit: number;
    /** Of both figures. */
    unit: string;
    /** Of the limit, the margins and the difference. */
    limitUnit: string;
    reference: GoalPart;
    evaluation: GoalPart;
    difference: GoalPart;
    verdict: GoalVerdict;
    /** Why a figure is not determined, continues the structure's name. */
    note: string | null;
}

/** A criterion and what came out; numbers of gamma and of rates are null when nothing was tested. */
export interface Criterion extends GammaFigures {
    /** As the user wrote it: "3%/2mm". */
    label: string;
    /** %, of the voxel's own dose with `local`, otherwise of the normalisation dose. */
    doseDifference: number;
    distance: number;
    local: boolean;
    /** % of the normalisation dose; voxels strictly above it are tested. */
    cutoffPercent: number;
    cutoffDose: number;
    normalisationDose: number;
    /** Spacing of the search lattice. */
    stepSize?: number | null;
    /** The largest gamma searched for; absent: not bounded. */
    gammaSearchMax?: number | null;
    /** Absent: true. */
    interpolation?: boolean | null;
    /** Time of the computation. */
    seconds?: number | null;
    /** %. */
    limits: { tolerance: number; action: number };
    /**
     * Bin i counts tested voxels with i·w < gamma ≤ (i+1)·w, gamma 0 in bin 0; the last one also takes
     * everything above it. The width divides 1, so that the bins up to gamma 1 sum to `passed`.
     */
    histogram: GammaHistogram;
    /** Patterns of the structures that it is for; none: for everything. */
    for?: string[] | null;
    /** The structure whose verdict it has; null: all tested voxels. */
    judged?: string | null;
    /** One for each structure of the record, in its order. */
    structures?: (PartResult | null)[] | null;
    outsideStructures?: PartResult | null;
    /** Of each point; -1: not tested. */
    pointGammas?: number[] | null;
    /** 1, 0, or 255: not tested. */
    pointVerdicts?: number[] | null;
}

/** Where doses were measured, or lie in a plane. */
export interface MeasurementRecord {
    kind: 'grid' | 'plane' | 'points';
    /** Places, and how many of them have a dose. */
    places: number;
    measured: number;
    points?: Triple[] | null;
    /** Of the points, in dose units. */
    doses?: number[] | null;
    evaluationDoses?: (number | null)[] | null;
}

/** What is done to the evaluation, and what that gives. */
export interface ChangeRecord {
    /** Added to its positions. */
    shift: Triple;
    shiftLength: number;
    /** "2.9 mm left, 0.3 mm anterior"; empty for no shift. */
    direction: string;
    /** Of its doses. */
    factor: number;
    /** %. */
    passRate: number;
    failed: number;
}

/** Which shift and dose factor explain what fails. */
export interface ExplanationRecord {
    /** Label of the criterion. */
    criterion: string;
    /** What alone was explained; null: all tested voxels. */
    structure: string | null;
    sentence: string;
    notes: string[];
    tested: number;
    before: { passRate: number; failed: number };
    best: ChangeRecord;
    shiftAlone: ChangeRecord;
    factorAlone: ChangeRecord;
    /** Values that keep the pass rate; null along an axis that was not searched. */
    within: { shift: ([number, number] | null)[]; factor: [number, number] };
}

/** Pass rates by criterion. */
export interface SweepRecord {
    doseDifferences: number[];
    distances: number[];
    local: boolean;
    /** Rows by dose difference, columns by distance; null where nothing was tested. */
    parts: { structure: string | null; passRates: (number | null)[][] }[];
}

/** Differences in units of their combined uncertainty; null where no voxel's is known. */
export interface NoiseDifferences {
    /** Null: all tested voxels, or those of a dose band. */
    structure: string | null;
    /** Of a dose band, % of the normalisation dose. */
    doses: [number, number] | null;
    voxels: number;
    mean: number | null;
    deviation: number | null;
    /** Shares, 0 to 1. */
    beyondTwo: number | null;
    beyondThree: number | null;
}

export interface NoiseRecord {
    differences: NoiseDifferences[];
    /** Where the dose gradient is low. */
    flat: { voxels: number; chiSquare: number | null; scatter: number | null; correlation: number | null };
    /** What speaks against the uncertainties. */
    notes: string[];
}

/** One dose in structures; its figures are those of `reference`. */
export interface EvaluationRecord {
    program: { name: string; version: string };
    created: string;
    command?: string | null;
    /** Heading of the page. */
    title?: string | null;
    header?: HeaderRecord | null;
    protocol?: ProtocolRecord | null;
    file: FileRecord;
    grid: GridRecord;
    doseUnit: string;
    structures: StructuresRecord;
    /** Empty: none was set. */
    goals: GoalRecord[];
    warnings?: string[] | null;
    gate?: NamedText[] | null;
}

export interface ComparisonRecord {
    program: { name: string; version: string };
    /** ISO 8601, UTC. */
    created: string;
    command?: string | null;
    /** Heading of the page. */
    title?: string | null;
    /** Absent: the record is of a version before 4.5. */
    header?: HeaderRecord | null;
    /** mm, of the beams of the plans. */
    isocentres?: Triple[];
    /** By which protocol was compared; null: by none. */
    protocol?: ProtocolRecord | null;
    files: Record<Role, FileRecord>;
    grids: Record<Role, GridRecord>;
    /** What growing x, y, z mean: "LPS" is left, posterior, superior. Absent: axes are x, y, z. */
    orientation?: string | null;
    doseUnit: string;
    /** At least one. */
    criteria: Criterion[];
    structures?: StructuresRecord | null;
    goals?: GoalRecord[] | null;
    explanation?: ExplanationRecord | null;
    sweeps?: SweepRecord[] | null;
    noise?: NoiseRecord | null;
    /** Absent: both are volumes; null where one is. */
    measurements?: Record<Role, MeasurementRecord | null> | null;
    /** "plane": in the plane of the first two axes; "points...": the reference is a list of points. */
    searchSpace?: string | null;
    /** Where a plane was put: through `at`, its axes along `right` and `up`. */
    plane?: { name: string; at: Triple; right: Triple; up: Triple } | null;
    /** Shown above the results. */
    warnings?: string[] | null;
    /** What is not as usual and changes results, or may. Absent: not told. */
    conditions?: NamedText[] | null;
    /** What makes the comparison doubtful as a whole. Absent: not told. */
    gate?: NamedText[] | null;
}
