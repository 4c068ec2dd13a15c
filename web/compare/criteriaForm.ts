/** What is asked of a comparison: the fields of the form, with the syntax of the command line. */

import type { EngineError } from '../engine/messages';
import { usualRequest, withFiles, type RequestDocument } from '../engine/request';
import { byId, el } from '../views/dom';
import { isChecked, lines, listed, numberOr, position, text, textOrNull, write } from './fields';
import { headerTyped, lastingPart, makeHeaderFields, writeHeader } from './headerForm';
import { isSame, members, valueAt, wordsOf } from './members';

/** ms without another key before what was typed counts. */
const patience = 350;
const criterionForm = /^(.*?)([\d.]+\s*%)\s*[LG]?\s*\/(.*)$/i;

/** Members that fields of their own take, that are of the page's files, or of the protocol itself. */
const takenApart = ['structures.files', 'plans', 'header', 'title', 'source', 'sha256'];

/** Members without a field: a request that was loaded keeps them. */
const carriedMembers = ['limits.failBelow', 'sweeps'];

/** Fields whose values are those of certain doses. */
const ofDoses = [
    'reference-scale', 'evaluation-scale', 'reference-uncertainty', 'evaluation-uncertainty', 'normalisation-at', 'plane-at',
];

/** Of files that tell none. */
const unitFields = ['dose-unit', 'length-unit', 'pixel-size'];

/** Members whose texts stand in lines of their own. */
const linedMembers = ['criteria', 'goals'];

type Carried = Pick<RequestDocument, 'sweeps' | 'title' | 'source' | 'sha256'> & { failBelow: string[] };

function carriedOf({ sweeps, title, source, sha256, limits }: RequestDocument): Carried {
    return { sweeps, title, source, sha256, failBelow: limits.failBelow };
}

export class CriteriaForm {
    private readonly form = byId<HTMLFormElement>('criteria-form');
    private readonly criteria = byId<HTMLTextAreaElement>('criteria');
    private readonly locality = byId<HTMLSelectElement>('locality');
    private carried = carriedOf(usualRequest());
    private timer = 0;

    /** @param unitsChanged told when tables that tell no unit are others now */
    constructor(
        private readonly changed: () => void,
        private readonly unitsChanged: () => void,
    ) {
        makeHeaderFields();
        this.form.addEventListener('submit', (event) => event.preventDefault());
        this.form.addEventListener('input', (event) => {
            if (event.target === this.locality) {
                this.makeLocal(this.locality.value);
            }
            this.takeName(event.target as HTMLElement);
            this.showAll();
            clearTimeout(this.timer);
            this.timer = window.setTimeout(this.changed, patience);
        });
        unitFields.forEach((field) => byId(field).addEventListener('change', () => this.unitsChanged()));
        this.showAll();
    }

    /** Of no files. */
    asked(): RequestDocument {
        const usual = usualRequest();
        const { failBelow, ...carried } = this.carried;
        const criteria = lines('criteria');
        return {
            ...usual,
            ...carried,
            name: text('request-name'),
            version: text('request-version'),
            reference: { ...usual.reference, scale: textOrNull('reference-scale'), uncertainty: textOrNull('reference-uncertainty') },
            evaluation: { ...usual.evaluation, scale: textOrNull('evaluation-scale'), uncertainty: textOrNull('evaluation-uncertainty') },
            criteria: criteria.length > 0 ? criteria : usual.criteria,
            cutOff: numberOr('cut-off', usual.cutOff),
            normalisation: numberOr('normalisation', null),
            normalisationAt: position('normalisation-at'),
            maxGamma: numberOr('max-gamma', usual.maxGamma),
            step: numberOr('step', null),
            nearest: isChecked('nearest'),
            slices: isChecked('slices-only'),
            structures: {
                files: [],
                show: listed('shown'),
                exclude: listed('excluded'),
                within: textOrNull('within'),
                metrics: listed('metrics'),
                prescription: numberOr('prescription', null),
                ignoreFrame: isChecked('ignore-frame'),
                ifPresent: isChecked('if-present'),
            },
            limits: { tolerance: listed('tolerance'), action: listed('action'), failBelow },
            goals: lines('goals'),
            refuse: listed('refuse'),
            plane: { name: textOrNull('plane'), at: position('plane-at') },
            units: {
                dose: textOrNull('dose-unit'),
                length: textOrNull('length-unit'),
                uncertainty: textOrNull('uncertainty-unit'),
                pixelSize: numberOr('pixel-size', undefined),
            },
            allowErrorDoses: isChecked('error-doses'),
            // Its fields count for nothing unless it is wanted.
            explain: isChecked('explain')
                ? { range: numberOr('explain-range', null), structure: textOrNull('explain-structure') }
                : null,
            noise: isChecked('noise') ? { seed: numberOr('noise-seed', 1) } : null,
            plans: [],
            identify: isChecked('identify'),
            header: headerTyped(),
        };
    }

    /**
     * Takes the settings of a request, of whatever files, and computes anew.
     * @returns the member that this page cannot fulfil: nothing is taken then; null: all is taken
     */
    fill(request: RequestDocument): string | null {
        const unmet = unmetMember(request);
        if (unmet !== null) {
            return unmet;
        }
        this.reset();
        this.carried = carriedOf(request);
        const usual = usualRequest();
        for (const [member, { field }] of Object.entries(members)) {
            const value = valueAt(request, member);
            if (field && !member.endsWith('.file')) {
                write(field, value, linedMembers.includes(member) ? '\n' : '; ');
                if (!isSame(value ?? null, valueAt(usual, member) ?? null)) {
                    byId(field).closest('details')?.setAttribute('open', '');
                }
            }
        }
        writeHeader(request.header);
        if (Object.keys(request.header).length > 0) {
            byId('header-details').setAttribute('open', '');
        }
        this.showAll();
        this.unitsChanged();
        this.changed();
        return null;
    }

    /** As the page was opened first; computes nothing. */
    reset(): void {
        clearTimeout(this.timer);
        this.form.reset();
        this.carried = carriedOf(usualRequest());
        this.showAll();
    }

    /**
     * What belongs to doses that are replaced by others: factors and places.
     * @returns whether there was anything
     */
    forgetDoses(): boolean {
        const filled = ofDoses.filter((field) => text(field) !== '');
        filled.forEach((field) => write(field, ''));
        this.showAll();
        return filled.length > 0;
    }

    /** What was typed of a patient is none of another one's; computes nothing. */
    forgetPatient(): void {
        writeHeader(lastingPart(headerTyped()));
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

    /** Writes what was chosen elsewhere into a field; computes nothing. */
    give(field: string, value: string): void {
        write(field, value);
        this.showAll();
    }

    /** Marks the field of the member that a failure is about; null: none. */
    markProblem(failure: EngineError | null): void {
        const meant = failure?.member === undefined ? undefined : wordsOf(failure.member)?.field;
        for (const { field } of Object.values(members)) {
            if (field !== undefined) {
                mark(byId(field), field === meant);
            }
        }
    }

    private makeLocal(letter: string): void {
        const rewritten = lines('criteria').map((line) =>
            line.replace(criterionForm, (_, name: string, percent: string, rest: string) => `${name}${percent}${letter}/${rest}`),
        );
        this.criteria.value = rewritten.join('\n');
    }

    /** Under another name or version it is a protocol of its own. */
    private takeName(field: HTMLElement): void {
        if (field.id === 'request-name' || field.id === 'request-version') {
            this.carried = { ...this.carried, title: '', source: '', sha256: '' };
        }
    }

    private showAll(): void {
        this.showLocality();
        const asked = this.asked();
        const told = carriedMembers.flatMap((member) => {
            const value = valueAt(asked, member);
            const isThere = Array.isArray(value) ? value.length > 0 : value !== null;
            return isThere ? [`${members[member].word}: ${[value].flat().join('; ')}`] : [];
        });
        this.showCounts(asked);
        byId('carried').textContent = told.length === 0 ? '' : `From the request that was loaded, too: ${told.join(', ')}.`;
    }

    /** How many settings of a section are not as usual, which a closed one would hide. */
    private showCounts(asked: RequestDocument): void {
        const usual = usualRequest();
        for (const section of this.form.querySelectorAll('details')) {
            const count = Object.entries(members).filter(
                ([member, { field }]) =>
                    field !== undefined &&
                    section.contains(byId(field)) &&
                    !isSame(valueAt(asked, member) ?? null, valueAt(usual, member) ?? null),
            ).length;
            const summary = section.querySelector('summary')!;
            summary.querySelector('.count')?.remove();
            if (count > 0) {
                summary.append(el('span', { class: 'count' }, count === 1 ? '1 setting not as usual' : `${count} settings not as usual`));
            }
        }
    }

    private showLocality(): void {
        const all = lines('criteria');
        this.locality.value = all.length > 0 && all.every((line) => /%\s*L\s*\//i.test(line)) ? 'L' : '';
    }
}

/** What has neither a field nor a place among those that are kept, and is not as usual. */
function unmetMember(request: RequestDocument): string | null {
    const usual = withFiles(usualRequest());
    const isUnmet = (member: string): boolean =>
        members[member].field === undefined &&
        !takenApart.includes(member) &&
        !carriedMembers.includes(member) &&
        !isSame(valueAt(request, member), valueAt(usual, member));
    return Object.keys(members).find(isUnmet) ?? null;
}

function mark(field: HTMLElement, isMeant: boolean): void {
    if (isMeant) {
        field.setAttribute('aria-invalid', 'true');
        field.setAttribute('aria-errormessage', 'problem');
        field.closest('details')?.setAttribute('open', '');
    } else {
        field.removeAttribute('aria-invalid');
        field.removeAttribute('aria-errormessage');
    }
}
