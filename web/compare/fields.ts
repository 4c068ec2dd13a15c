/** Fields of the form as values of a request, and back. */

import type { Position, Typed } from '../engine/request';
import { byId } from '../views/dom';

type TextField = HTMLInputElement | HTMLTextAreaElement | HTMLSelectElement;

const decimal = /^[+-]?(\d+\.?\d*|\.\d+)(e[+-]?\d+)?$/i;

/** Not where three digits follow it, as where it groups thousands: the engine says what is wrong then. */
const decimalComma = /^([+-]?\d+),(\d{1,2}|\d{4,})$/;

export function text(id: string): string {
    return byId<TextField>(id).value.trim();
}

export function textOrNull(id: string): string | null {
    return text(id) || null;
}

/** What is no number stays what was typed: the engine says what is wrong with it. */
export function numberOr<Value>(id: string, usual: Value): Typed<number> | Value {
    const typed = text(id);
    return typed === '' ? usual : (numberOf(typed) ?? typed);
}

export function position(id: string): Typed<Position> | null {
    const typed = text(id);
    const numbers = typed.split(',').map((part) => numberOf(part.trim()));
    return typed === '' ? null : numbers.includes(null) ? typed : (numbers as Position);
}

/** Several with a semicolon between them. */
export function listed(id: string): string[] {
    return parts(text(id), ';');
}

export function lines(id: string): string[] {
    return parts(text(id), '\n');
}

export function isChecked(id: string): boolean {
    return byId<HTMLInputElement>(id).checked;
}

/** Writes a value of a request as the field takes it; lists of texts with this between them. */
export function write(id: string, value: unknown, between = '; '): void {
    const field = byId<TextField>(id);
    if (field instanceof HTMLInputElement && field.type === 'checkbox') {
        field.checked = Boolean(value);
    } else {
        field.value = Array.isArray(value) ? value.join(typeof value[0] === 'number' ? ',' : between) : String(value ?? '');
    }
}

function numberOf(typed: string): number | null {
    const pointed = typed.replace(decimalComma, '$1.$2');
    const value = decimal.test(pointed) ? Number(pointed) : NaN;
    return Number.isFinite(value) ? value : null;
}

function parts(value: string, separator: string): string[] {
    return value.split(separator).map((part) => part.trim()).filter(Boolean);
}
