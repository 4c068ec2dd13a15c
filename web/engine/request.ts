import type { HeaderField } from '../views/record';

/** The document of a request: what is asked of a comparison. All its members are always there. */

export type Position = number[];

export interface DoseRequest {
    /** A path of the page's files; null: none is named. */
    file: string | null;
    /** Doses that are added, on the same grid. */
    add: string[];
    /** "1.02", "1/33". */
    scale: string | null;
    /** A path of the page's files, or "2%"; null: those that its file tells. */
    uncertainty: string | null;
}

/** Texts where numbers belong are what a person typed: the engine refuses them. */
export type Typed<Value> = Value | string;

/** What doses and lengths of files that tell none are in. */
export interface TableUnits {
    dose: string | null;
    length: string | null;
    /** mm, of what tells no coordinates; may be left out. */
    pixelSize?: Typed<number> | undefined;
}

/** By the names of the record's header; what is not there is not given. */
export type HeaderTexts = Partial<Record<HeaderField, string>>;

export interface RequestDocument {
    format: 'zarngi-request';
    formatVersion: 3;
    name: string;
    version: string;
    /** What it is for, and who has agreed on it. */
    title: string;
    source: string;
    /** Of the protocol that it came from; empty: of none, or of itself where it has a name. */
    sha256: string;
    reference: DoseRequest;
    evaluation: DoseRequest;
    /** "3%/2mm", "2%L/2mm", "PTV*:2%/1mm"; at least one. */
    criteria: string[];
    /** %. */
    cutOff: Typed<number>;
    /** Gy, or "evaluation". */
    normalisation: Typed<number> | null;
    /** mm: the reference's dose there is that of 100 %. */
    normalisationAt: Typed<Position> | null;
    maxGamma: Typed<number>;
    /** mm. */
    step: Typed<number> | null;
    passRateOnly: boolean;
    nearest: boolean;
    /** Interpolates within planes of constant z only. */
    slices: boolean;
    rotate: boolean;
    structures: {
        /** DICOM RT Structure Sets and label masks. */
        files: string[];
        /** Names and expressions: "PTV*", "ring=PTV57-PTV67". */
        show: string[];
        exclude: string[];
        /** Voxels of these alone are tested. */
        within: string | null;
        /** Lists like "D99,D1cc,V20Gy". */
        metrics: string[];
        /** Gy. */
        prescription: Typed<number> | null;
        ignoreFrame: boolean;
        ifPresent: boolean;
    };
    /** "95", "PTV*:98". */
    limits: { tolerance: string[]; action: string[]; failBelow: string[] };
    /** "PTV*: D95% >= 57 Gy". */
    goals: string[];
    /** "axial", "coronal", "sagittal", "gantry:30"; where its point 0, 0 lies, mm. */
    plane: { name: string | null; at: Typed<Position> | null };
    /** Of tables that tell none; of files of uncertainties "percent", "fraction" or "gray". */
    units: TableUnits & { uncertainty: string | null };
    /** Differences between doses are compared as doses. */
    allowErrorDoses: boolean;
    /** Whether to find the shift and the factor that explain what fails; range in mm. */
    explain: { range: Typed<number> | null; structure: string | null } | null;
    sweeps: string[];
    /** Whether to estimate the rates of doses without their statistical noise. */
    noise: { seed: Typed<number> } | null;
    /** Names of warnings that end the comparison: "identical-doses". */
    refuse: string[];
    /** Whether the page guessed which dose is the reference, and nobody has confirmed it. */
    referenceGuessed: boolean;
    /** Files of the plans that the doses were computed from. */
    plans: string[];
    /** Whether documents hold what the files say about patient and plan. */
    identify: boolean;
    header: HeaderTexts;
}

/** What is asked of a comparison of the page. */
export interface ComparisonRequest extends RequestDocument {
    /** Whether nothing is told of its files, nor of what they or its header say of a patient. */
    anonymous: boolean;
}

/** Without files, and as usual otherwise. */
export function usualRequest(): RequestDocument {
    return {
        format: 'zarngi-request',
        formatVersion: 3,
        name: '',
        version: '',
        title: '',
        source: '',
        sha256: '',
        reference: { file: null, add: [], scale: null, uncertainty: null },
        evaluation: { file: null, add: [], scale: null, uncertainty: null },
        criteria: ['3%/2mm'],
        cutOff: 10,
        normalisation: null,
        normalisationAt: null,
        maxGamma: 3,
        step: null,
        passRateOnly: false,
        nearest: false,
        slices: false,
        rotate: false,
        structures: {
            files: [],
            show: [],
            exclude: [],
            within: null,
            metrics: [],
            prescription: null,
            ignoreFrame: false,
            ifPresent: false,
        },
        limits: { tolerance: [], action: [], failBelow: [] },
        goals: [],
        plane: { name: null, at: null },
        units: { dose: null, length: null, uncertainty: null },
        allowErrorDoses: false,
        explain: null,
        sweeps: [],
        noise: null,
        refuse: [],
        referenceGuessed: false,
        plans: [],
        identify: false,
        header: {},
    };
}

/** A copy of the request that asks for other files, or for none. */
export function withFiles(
    request: RequestDocument,
    reference: string | null = null,
    evaluation: string | null = null,
    structures: string[] = [],
    plans: string[] = [],
): RequestDocument {
    return {
        ...request,
        reference: { ...request.reference, file: reference, add: [] },
        evaluation: { ...request.evaluation, file: evaluation, add: [] },
        structures: { ...request.structures, files: structures },
        plans,
    };
}

/** All that a request names; each may stand there more than once. */
export function filesOf({ reference, evaluation, structures, plans }: RequestDocument): string[] {
    const doses = [reference, evaluation];
    const single = doses.flatMap(({ file }) => (file === null ? [] : [file]));
    const uncertainties = doses.flatMap(({ uncertainty }) => (isFile(uncertainty) ? [uncertainty] : []));
    return [...single, ...doses.flatMap(({ add }) => add), ...structures.files, ...uncertainties, ...plans];
}

/** Uncertainties are those of a file, unless they are a percentage of each dose. */
function isFile(uncertainty: string | null): uncertainty is string {
    return uncertainty !== null && !uncertainty.trimEnd().endsWith('%');
}
