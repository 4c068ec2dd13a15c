import type {
    ComparisonRecord, Criterion, EvaluationRecord, ExplanationRecord, NoiseRecord, Role, StructureRecord, StructuresRecord,
} from '../views/record';

export interface VolumeRecord {
    name: string;
    kind: 'dose' | 'gamma' | 'difference';
    grid: Role;
    type: string;
    decimals: number;
    encoding: string;
}

/** Names of the elements with its voxels and its contours. */
export interface StructureElements {
    voxelsElement: string;
    contoursElement?: string | null;
}

/** The record as the page carries it, with what tells where its volumes are; README.md defines it. */
export interface PageRecord extends ComparisonRecord {
    format: 'zarngi-report';
    formatVersion: number;
    criteria: (Criterion & { gammaVolume: string })[];
    structures?: (StructuresRecord & { list: (StructureRecord & StructureElements)[] }) | null;
    explanation?: (ExplanationRecord & { gammaVolume: string }) | null;
    noise?: (NoiseRecord & { differenceVolume: string }) | null;
    volumes: VolumeRecord[];
}

/** The page of one dose carries its document as it is. */
export type EvaluationDocument = EvaluationRecord & { format: 'zarngi-dvh'; formatVersion: number };

export function isEvaluation(document: PageRecord | EvaluationDocument): document is EvaluationDocument {
    return document.format === 'zarngi-dvh';
}

/** Reads the document out of the page; throws an Error a reader can act on. */
export function readDocument(): PageRecord | EvaluationDocument {
    const element = document.getElementById('zarngi-data');
    if (!element) {
        throw new Error('This page holds no data: it is the empty template of the report.');
    }
    const found = JSON.parse(element.textContent ?? '') as PageRecord | EvaluationDocument;
    if (!['zarngi-report', 'zarngi-dvh'].includes(found.format) || found.formatVersion !== 1) {
        throw new Error('The data in this page is of a kind this page does not know.');
    }
    if (!isEvaluation(found) && found.criteria.length === 0) {
        throw new Error('The data in this page holds no criterion.');
    }
    return found;
}
