/** The fields of the header: what is typed, over what the files say. */

import type { HeaderTexts } from '../engine/request';
import { byId, el } from '../views/dom';
import { headerLabels } from '../views/headerCard';
import { headerFields, type HeaderField, type HeaderRecord } from '../views/record';

/** Fields that are kept from patient to patient. */
const lasting: readonly HeaderField[] = ['machine', 'performedBy', 'reviewedBy'];

const idOf = (field: HeaderField): string => `header-${field}`;
const inputOf = (field: HeaderField): HTMLInputElement => byId<HTMLInputElement>(idOf(field));

export function makeHeaderFields(): void {
    byId('header-inputs').replaceChildren(
        ...headerFields.map((field) => el('label', {}, `${headerLabels[field]} `, el('input', { type: 'text', id: idOf(field) }))),
    );
}

export function headerTyped(): HeaderTexts {
    const typed = headerFields.map((field) => [field, inputOf(field).value.trim()] as const);
    return Object.fromEntries(typed.filter(([, text]) => text !== ''));
}

export function writeHeader(header: HeaderTexts): void {
    headerFields.forEach((field) => (inputOf(field).value = header[field] ?? ''));
}

/** Shows what the files say; null: there are none. */
export function showHeaderOfFiles(header: HeaderRecord | null): void {
    headerFields.forEach((field) => (inputOf(field).placeholder = header?.[field] ?? ''));
}

/** What another patient does not change. */
export function lastingPart(header: HeaderTexts): HeaderTexts {
    return Object.fromEntries(lasting.flatMap((field) => (header[field] ? [[field, header[field]]] : [])));
}
