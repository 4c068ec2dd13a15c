/** How the messages travel between a page and its worker. */

import type { ConversionAsked, EngineError, ExamplePart, Progress, StructurePart, VolumeName } from './messages';
import type { RequestDocument, TableUnits } from './request';

export type Call =
    | { call: 'file'; path: string; file: File | null }
    | { call: 'identify'; path: string; units: TableUnits }
    | { call: 'request'; text: string }
    | { call: 'protocols' }
    | { call: 'protocol'; name: string }
    | { call: 'compare'; request: RequestDocument; anonymous: boolean; command: string; helpers: number }
    | ({ call: 'searchElsewhere' } & Part)
    | { call: 'rates'; criterion: string }
    | { call: 'volume'; volume: VolumeName }
    | { call: 'testedGammas'; criterion: number | null; part: 'rows' | 'values' }
    | { call: 'structure'; structure: number; part: StructurePart }
    | { call: 'document'; document: 'record' | 'csv' }
    | { call: 'document'; document: 'page'; template: string }
    | { call: 'document'; document: 'gammaMap'; criterion: number; name: string }
    | { call: 'example'; part: ExamplePart }
    | ({ call: 'convert' } & ConversionAsked)
    | { call: 'selfTest' };

/** A part of a search, with the doses that it needs. */
export interface Part {
    part: object;
    reference: ArrayBuffer;
    evaluation: ArrayBuffer;
}

export interface Request {
    id: number;
    call: Call;
}

/** To the worker that shares a search out: what was found in a part; null: nobody could search it. */
export interface Found {
    found: number;
    output: ArrayBuffer | null;
}

export type Reply = { id: number } & (
    | { answer: unknown; output?: ArrayBuffer }
    | { failure: EngineError }
    | { progress: Progress }
    /** Wants a part to be searched by another worker; `wanted` is its number. */
    | { wanted: number; part: Part }
);
