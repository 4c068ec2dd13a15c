import type {
    ComparisonRecord, Criterion, ExplanationRecord, NoiseRecord, Role, StructureRecord, StructuresRecord,
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
    format: string;
    formatVersion: number;
    criteria: (Criterion & { gammaVolume: string })[];
    structures?: (StructuresRecord & { list: (StructureRecord & StructureElements)[] }) | null;
    explanation?: (ExplanationRecord & { gammaVolume: string }) | null;
    noise?: (NoiseRecord & { differenceVolume: string }) | null;
    volumes: VolumeRecord[];
}

/** Reads the record out of the page; throws an Error a reader can act on. */
export function readRecord(): PageRecord {
    const element = document.getElementById('zarngi-data');
    if (!element) {
        throw new Error('This page holds no data: it is the empty template of the report.');
    }
    const record = JSON.parse(element.textContent ?? '') as PageRecord;
    if (record.format !== 'zarngi-report' || record.formatVersion !== 1) {
        throw new Error('The data in this page is of a kind this page does not know.');
    }
    if (record.criteria.length === 0) {
        throw new Error('The data in this page holds no criterion.');
    }
    return record;
}
