/** What the browser keeps between visits: criteria, cut-off and limits, and nothing that a patient has. */

import { usualRequest, type RequestDocument } from '../engine/request';
import { byId } from '../views/dom';
import { write } from './fields';

const settingsKey = 'zarngi.settings';
const switchKey = 'zarngi.keep';

interface Kept {
    criteria: string[];
    /** Null: as usual. */
    cutOff: number | null;
    tolerance: string[];
    action: string[];
}

/** Without names of structures; whatever else was typed is not kept either. */
const criterion = /^\d+(\.\d+)?\s*%\s*[LG]?\s*\/\s*\d+(\.\d+)?\s*mm$/i;
const percentage = /^\d+(\.\d+)?$/;

export class KeptSettings {
    private readonly box = byId<HTMLInputElement>('keep-settings');
    private readonly storage = storageOf();

    constructor() {
        this.box.checked = this.storage !== null && this.storage.getItem(switchKey) !== 'off';
        this.box.closest('label')!.hidden = this.storage === null;
    }

    /** Writes what was kept into the form; `changed` is told when the switch is turned on. */
    restore(changed: () => void): void {
        const kept = this.box.checked ? readKept(this.storage?.getItem(settingsKey) ?? null) : null;
        if (kept) {
            const { criteria, cutOff, tolerance, action } = kept;
            if (criteria.length > 0) {
                write('criteria', criteria, '\n');
            }
            write('cut-off', cutOff);
            write('tolerance', tolerance);
            write('action', action);
        }
        this.box.addEventListener('change', () => {
            this.setItem(switchKey, this.box.checked ? null : 'off');
            this.setItem(settingsKey, null);
            changed();
        });
    }

    keep({ criteria, cutOff, limits }: RequestDocument): void {
        if (this.box.checked) {
            const { tolerance, action } = limits;
            this.setItem(settingsKey, JSON.stringify(allowed({ criteria, cutOff, tolerance, action })));
        }
    }

    private setItem(key: string, value: string | null): void {
        try {
            if (value === null) {
                this.storage?.removeItem(key);
            } else {
                this.storage?.setItem(key, value);
            }
        } catch {
            // A full storage keeps nothing.
        }
    }
}

/** Some browsers hide it from pages that are opened from disk. */
function storageOf(): Storage | null {
    try {
        return window.localStorage;
    } catch {
        return null;
    }
}

function allowed({ criteria, cutOff, tolerance, action }: Record<keyof Kept, unknown>): Kept {
    return {
        criteria: matching(criteria, criterion),
        cutOff: typeof cutOff === 'number' && cutOff !== usualRequest().cutOff ? cutOff : null,
        tolerance: matching(tolerance, percentage),
        action: matching(action, percentage),
    };
}

function matching(list: unknown, form: RegExp): string[] {
    return Array.isArray(list) ? list.filter((one) => typeof one === 'string' && form.test(one)) : [];
}

function readKept(text: string | null): Kept | null {
    try {
        const value: unknown = JSON.parse(text ?? 'null');
        return typeof value === 'object' && value ? allowed(value as Record<keyof Kept, unknown>) : null;
    } catch {
        return null;
    }
}
