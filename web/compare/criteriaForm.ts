/** What is asked of a comparison: the fields of the form, with the syntax of the command line. */

import type { CompareRequest } from '../engine/messages';
import { byId } from '../views/dom';

export type Asked = Omit<CompareRequest, 'reference' | 'evaluation' | 'structures' | 'command'>;

type TextField = HTMLInputElement | HTMLTextAreaElement;

/** Options of the command line, which sentences name, and the fields that stand for them. */
const fields: Record<string, string> = {
    '--criteria': 'criteria',
    '--dco': 'cut-off',
    '--norm': 'normalisation',
    '--max-gamma': 'max-gamma',
    '--step': 'step',
    '--nearest': 'nearest',
    '--slices': 'slices-only',
    '--tolerance': 'tolerance',
    '--action': 'action',
    '--structure': 'shown',
    '--exclude': 'excluded',
    '--within': 'within',
    '--dvh': 'metrics',
    '--prescription': 'prescription',
    '--ignore-frame': 'ignore-frame',
    '--plane': 'plane',
    '--at': 'plane-at',
    '--norm-at': 'normalisation-at',
    '--reference-scale': 'reference-scale',
    '--evaluation-scale': 'evaluation-scale',
    '--explain': 'explain',
    '--explain-range': 'explain-range',
    '--explain-structure': 'explain-structure',
};

/** ms without another key before what was typed counts. */
const patience = 350;
const usual = '3%/2mm';
const criterionForm = /^(.*?)([\d.]+\s*%)\s*[LG]?\s*\/(.*)$/i;

export class CriteriaForm {
    private readonly form = byId<HTMLFormElement>('criteria-form');
    private readonly criteria = byId<HTMLTextAreaElement>('criteria');
    private readonly locality = byId<HTMLSelectElement>('locality');
    private timer = 0;

    constructor(private readonly changed: () => void) {
        this.form.addEventListener('submit', (event) => event.preventDefault());
        this.form.addEventListener('input', (event) => {
            if (event.target === this.locality) {
                this.makeLocal(this.locality.value);
            }
            this.showLocality();
            clearTimeout(this.timer);
            this.timer = window.setTimeout(this.changed, patience);
        });
    }

    asked(): Asked {
        const criteria = lines(this.criteria.value);
        return {
            criteria: criteria.length > 0 ? criteria : [usual],
            cutOff: text('cut-off'),
            normalisation: text('normalisation'),
            maxGamma: text('max-gamma'),
            step: text('step'),
            nearest: isChecked('nearest'),
            slices: isChecked('slices-only'),
            tolerance: listed('tolerance'),
            action: listed('action'),
            shown: listed('shown'),
            excluded: listed('excluded'),
            within: text('within'),
            metrics: listed('metrics'),
            prescription: text('prescription'),
            ignoreFrame: isChecked('ignore-frame'),
            plane: text('plane'),
            at: text('plane-at'),
            normalisationAt: text('normalisation-at'),
            referenceScale: text('reference-scale'),
            evaluationScale: text('evaluation-scale'),
            ...explained(),
        };
    }

    /** Puts a criterion in the place of the one at an index, and computes anew. */
    replace(index: number, criterion: string): void {
        const all = this.asked().criteria;
        all[index] = criterion;
        this.criteria.value = all.join('\n');
        this.showLocality();
        clearTimeout(this.timer);
        this.changed();
    }

    /** Marks the fields whose options a sentence names; null: none. */
    markProblem(sentence: string | null): void {
        for (const [option, id] of Object.entries(fields)) {
            const isMeant = sentence !== null && new RegExp(`${option}(?![-\\w])`).test(sentence);
            const field = byId(id);
            if (isMeant) {
                field.setAttribute('aria-invalid', 'true');
                field.setAttribute('aria-errormessage', 'problem');
                field.closest('details')?.setAttribute('open', '');
            } else {
                field.removeAttribute('aria-invalid');
                field.removeAttribute('aria-errormessage');
            }
        }
    }

    private makeLocal(letter: string): void {
        const rewritten = lines(this.criteria.value).map((line) =>
            line.replace(criterionForm, (_, name: string, percent: string, rest: string) => `${name}${percent}${letter}/${rest}`),
        );
        this.criteria.value = rewritten.join('\n');
    }

    private showLocality(): void {
        const all = lines(this.criteria.value);
        this.locality.value = all.length > 0 && all.every((line) => /%\s*L\s*\//i.test(line)) ? 'L' : '';
    }
}

/** The command that makes the same comparison of files at these paths. */
export function commandOf(request: CompareRequest): string {
    const words = ['zarngi', 'compare', request.reference, request.evaluation];
    const add = (option: string, ...values: (string | undefined)[]): void =>
        values.forEach((value) => value && words.push(option, value));
    add('--criteria', ...request.criteria);
    add('--dco', request.cutOff);
    add('--norm', request.normalisation);
    add('--max-gamma', request.maxGamma);
    add('--step', request.step);
    words.push(...(request.nearest ? ['--nearest'] : []), ...(request.slices ? ['--slices'] : []));
    add('--tolerance', ...(request.tolerance ?? []));
    add('--action', ...(request.action ?? []));
    add('--structures', ...request.structures);
    add('--structure', ...(request.shown ?? []));
    add('--exclude', ...(request.excluded ?? []));
    add('--within', request.within);
    add('--dvh', ...(request.metrics ?? []));
    add('--prescription', request.prescription);
    words.push(...(request.ignoreFrame ? ['--ignore-frame'] : []));
    add('--plane', request.plane);
    add('--at', request.at);
    add('--norm-at', request.normalisationAt);
    add('--reference-scale', request.referenceScale);
    add('--evaluation-scale', request.evaluationScale);
    words.push(...(request.explain ? ['--explain'] : []));
    add('--explain-range', request.explainRange);
    add('--explain-structure', request.explainStructure);
    return words.map(quoted).join(' ');
}

/** Its fields count for nothing unless it is wanted. */
function explained(): Pick<Asked, 'explain' | 'explainRange' | 'explainStructure'> {
    return isChecked('explain')
        ? { explain: true, explainRange: text('explain-range'), explainStructure: text('explain-structure') }
        : {};
}

function quoted(word: string): string {
    return /^[\w%+,./:=@-]+$/.test(word) ? word : `'${word.replaceAll("'", "'\\''")}'`;
}

function lines(value: string): string[] {
    return value.split('\n').map((line) => line.trim()).filter(Boolean);
}

function text(id: string): string {
    return byId<TextField>(id).value.trim();
}

function listed(id: string): string[] {
    return text(id).split(';').map((part) => part.trim()).filter(Boolean);
}

function isChecked(id: string): boolean {
    return byId<HTMLInputElement>(id).checked;
}
