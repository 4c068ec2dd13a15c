/** Whose plan it is, and the lines to sign. */

import { byId, el } from './dom';
import { headerFields, type HeaderField, type HeaderRecord } from './record';

export const headerLabels: Record<HeaderField, string> = {
    patientName: 'Patient',
    patientId: 'Patient ID',
    plan: 'Plan',
    beams: 'Beams',
    machine: 'Machine',
    prescription: 'Prescription',
    fractions: 'Fractions',
    isocentre: 'Isocentre',
    date: 'Date of the plan',
    approval: 'Approval',
    series: 'Series',
    comment: 'Comment',
    performedBy: 'Performed by',
    reviewedBy: 'Reviewed by',
};

const signed: readonly HeaderField[] = ['performedBy', 'reviewedBy'];

/** On paper the lines to sign are always there, on the screen only with a name. */
export function showHeader(header: HeaderRecord | null | undefined): void {
    const told = headerFields.filter((field) => header?.[field] && !signed.includes(field));
    byId('header-fields').replaceChildren(
        ...told.map((field) => el('div', { 'data-field': field }, el('dt', {}, headerLabels[field]), el('dd', {}, header?.[field]))),
    );
    byId('signatures').replaceChildren(
        ...signed.map((field) =>
            el('p', { 'data-field': field, class: header?.[field] ? '' : 'unsigned' }, `${headerLabels[field]}: `, el('span', {}, header?.[field]), el('span', { class: 'date' }, 'Date')),
        ),
    );
    const isEmpty = told.length === 0 && !signed.some((field) => header?.[field]);
    byId('plan-header').classList.toggle('on-paper', isEmpty);
}
