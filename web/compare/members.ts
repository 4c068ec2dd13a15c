/** The members of a request in the words of the page and of the command line. */

import type { EngineError } from '../engine/messages';
import { usualRequest, type RequestDocument } from '../engine/request';

interface MemberWords {
    /** As sentences of the page say it: the label of its field. */
    word: string;
    /** The id of its field, where the page has one. */
    field?: string;
    /** Of the program. */
    option?: string;
}

/** By the members' places in the document, in the order of the options of a command. */
export const members: Record<string, MemberWords> = {
    'reference.file': { word: 'Reference', field: 'reference-choice' },
    'evaluation.file': { word: 'Evaluation', field: 'evaluation-choice' },
    criteria: { word: 'Criteria', field: 'criteria', option: '--criteria' },
    cutOff: { word: 'Cut-off', field: 'cut-off', option: '--dco' },
    normalisation: { word: 'Normalisation', field: 'normalisation', option: '--norm' },
    maxGamma: { word: 'Largest γ searched', field: 'max-gamma', option: '--max-gamma' },
    step: { word: 'Search step', field: 'step', option: '--step' },
    passRateOnly: { word: 'Pass rate only', option: '--pass-rate-only' },
    nearest: { word: 'Nearest voxel', field: 'nearest', option: '--nearest' },
    slices: { word: 'Within slices only', field: 'slices-only', option: '--slices' },
    rotate: { word: 'Rotated lattice', option: '--rotate' },
    'limits.tolerance': { word: 'Tolerance', field: 'tolerance', option: '--tolerance' },
    'limits.action': { word: 'Action', field: 'action', option: '--action' },
    'limits.failBelow': { word: 'Fail below', option: '--fail-below' },
    goals: { word: 'Goals', field: 'goals', option: '--goal' },
    'structures.files': { word: 'Structures', option: '--structures' },
    'structures.show': { word: 'Show only', field: 'shown', option: '--structure' },
    'structures.exclude': { word: 'All but', field: 'excluded', option: '--exclude' },
    'structures.within': { word: 'Test within', field: 'within', option: '--within' },
    'structures.metrics': { word: 'Dose-volume figures', field: 'metrics', option: '--dvh' },
    'structures.prescription': { word: 'Prescription', field: 'prescription', option: '--prescription' },
    'structures.ignoreFrame': { word: 'Another frame of reference', field: 'ignore-frame', option: '--ignore-frame' },
    'structures.ifPresent': { word: 'Leave out names', field: 'if-present', option: '--if-present' },
    'plane.name': { word: 'Plane', field: 'plane', option: '--plane' },
    'plane.at': { word: 'Its point 0, 0', field: 'plane-at', option: '--at' },
    normalisationAt: { word: 'Normalise at', field: 'normalisation-at', option: '--norm-at' },
    'reference.add': { word: 'Doses added to the reference', option: '--reference-add' },
    'reference.scale': { word: 'Reference times', field: 'reference-scale', option: '--reference-scale' },
    'reference.uncertainty': { word: 'Uncertainty of the reference', field: 'reference-uncertainty', option: '--reference-uncertainty' },
    'evaluation.add': { word: 'Doses added to the evaluation', option: '--evaluation-add' },
    'evaluation.scale': { word: 'Evaluation times', field: 'evaluation-scale', option: '--evaluation-scale' },
    'evaluation.uncertainty': { word: 'Uncertainty of the evaluation', field: 'evaluation-uncertainty', option: '--evaluation-uncertainty' },
    'units.dose': { word: 'Doses without a unit', field: 'dose-unit', option: '--dose-unit' },
    'units.length': { word: 'Length unit of tables', field: 'length-unit', option: '--length-unit' },
    'units.pixelSize': { word: 'Pixel size', field: 'pixel-size', option: '--pixel-size' },
    'units.uncertainty': { word: 'Unit of files of uncertainties', field: 'uncertainty-unit', option: '--uncertainty-unit' },
    allowErrorDoses: { word: 'Differences as doses', field: 'error-doses', option: '--allow-error-doses' },
    explain: { word: 'Explanation', field: 'explain', option: '--explain' },
    'explain.range': { word: 'Within ±', field: 'explain-range', option: '--explain-range' },
    'explain.structure': { word: 'In the structure', field: 'explain-structure', option: '--explain-structure' },
    sweeps: { word: 'Rates by criterion', option: '--sweep' },
    noise: { word: 'Statistical noise', field: 'noise', option: '--noise' },
    'noise.seed': { word: 'Seed', field: 'noise-seed', option: '--noise-seed' },
    refuse: { word: 'Refuse', field: 'refuse', option: '--refuse' },
    plans: { word: 'Plans', option: '--plan' },
    identify: { word: 'Tell patient and plan', field: 'identify', option: '--identify' },
    header: { word: 'Header', option: '--header' },
    name: { word: 'Name', field: 'request-name' },
    version: { word: 'Version', field: 'request-version' },
    title: { word: 'Title' },
    source: { word: 'Source' },
    sha256: { word: 'Protocol' },
};

/** "criteria[1]" is one of `criteria`. */
export function wordsOf(member: string): MemberWords | undefined {
    return members[member.replace(/\[\d+\]$/, '')];
}

/** A failure as the page says it. */
export function sentenceOf({ parts }: EngineError): string {
    return parts
        .map((part) => ('text' in part ? part.text : 'file' in part ? part.file : (wordsOf(part.member)?.word ?? part.member)))
        .join('');
}

/** What stands at "structures.within". Nothing below a member that is null. */
export function valueAt(request: RequestDocument, member: string): unknown {
    return member
        .split('.')
        .reduce<unknown>((value, name) => (value as Record<string, unknown> | null)?.[name], request);
}

export function isSame(a: unknown, b: unknown): boolean {
    return JSON.stringify(a) === JSON.stringify(b);
}

/** The command that makes the same comparison of files at these paths. */
export function commandOf(request: RequestDocument): string {
    const files = [request.reference.file, request.evaluation.file].map((file) => file ?? '');
    const usual = usualRequest();
    const options = Object.entries(members).flatMap(([member, { option }]) => {
        const value = valueAt(request, member);
        const isUsual = member !== 'criteria' && isSame(value, valueAt(usual, member));
        return option && !isUsual ? optionWords(option, value) : [];
    });
    return ['zarngi', 'compare', ...files, ...options].map(quoted).join(' ');
}

/** Positions are one value, lists of texts are several; an object says no more than that it is there. */
function optionWords(option: string, value: unknown): string[] {
    if (value === null || value === undefined || value === false) {
        return [];
    }
    if (option === '--header') {
        return Object.entries(value as object).flatMap(([key, text]) => [option, `${key}=${text}`]);
    }
    if (value === true || (typeof value === 'object' && !Array.isArray(value))) {
        return [option];
    }
    const isPosition = Array.isArray(value) && typeof value[0] === 'number';
    const values: unknown[] = Array.isArray(value) && !isPosition ? value : [value];
    return values.flatMap((one) => [option, String(one)]);
}

function quoted(word: string): string {
    return /^[\w%+,./:=@-]+$/.test(word) ? word : `'${word.replaceAll("'", "'\\''")}'`;
}
