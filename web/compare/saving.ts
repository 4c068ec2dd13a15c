/** What goes out of the page: files that the browser saves. */

import template from 'zarngi-report-template';
import type { EngineClient } from '../engine/client';
import { byId } from '../views/dom';
import type { Current } from './comparisons';

/** ms until a saved file's bytes are let go. */
const kept = 60000;

export function saveFile(name: string, type: string, contents: ArrayBuffer): void {
    const url = URL.createObjectURL(new Blob([contents], { type }));
    const link = document.createElement('a');
    link.href = url;
    link.download = name;
    link.click();
    setTimeout(() => URL.revokeObjectURL(url), kept);
}

/** A name that tells plan and date, where these are told: "HN-60-2026-11-26-gamma.json". */
function named(name: string, { request, record }: Pick<Current, 'request' | 'record'>): string {
    const told = request.identify ? [record.header?.plan, record.header?.date] : [];
    const words = told.flatMap((text) => text?.replace(/[^\p{L}\p{N}.]+/gu, '-').replace(/^-|-$/g, '') || []);
    return [...words, name].join('-');
}

export class Saving {
    private current: Current | null = null;
    private isSaved = true;
    private isAllowed = true;
    private readonly anonymous = byId<HTMLInputElement>('anonymous');
    private readonly format = byId<HTMLSelectElement>('map-format');

    constructor(private readonly client: EngineClient) {
        this.on('save-page', 'gamma-report.html', 'text/html', ({ request }) => client.page(request, template));
        this.on('save-json', 'gamma.json', 'application/json', ({ request }) => client.record(request));
        this.on('save-csv', 'gamma.csv', 'text/csv', ({ request }) => client.csv(request));
        this.askBeforeClosing();
        this.anonymous.addEventListener('change', () => this.update());
        byId('save-map').addEventListener('click', () => {
            if (this.current) {
                void this.saveMap(this.current);
            }
        });
    }

    /** What is shown, and may be saved. */
    show(current: Current | null): void {
        this.isSaved = current === null || current === this.current;
        this.current = current;
        byId('saved').textContent = '';
        this.update();
    }

    /** Nobody saves or prints what is not what is asked. */
    allow(isAllowed: boolean): void {
        this.isAllowed = isAllowed;
        this.update();
    }

    /** Until what is shown tells as much as the switch asks, nothing goes out. */
    private update(): void {
        byId('save').hidden = !this.isAllowed || !this.current;
        const isAsAsked = this.current === null || this.current.request.anonymous === this.anonymous.checked;
        document.querySelectorAll<HTMLButtonElement>('#print, #save button').forEach((button) => {
            button.disabled = !this.isAllowed || !isAsAsked;
        });
    }

    /** Closing the page loses what was computed and not saved. */
    private askBeforeClosing(): void {
        window.addEventListener('beforeunload', (event) => {
            if (!this.isSaved) {
                event.preventDefault();
                event.returnValue = true; // older browsers ask for this
            }
        });
        window.addEventListener('afterprint', () => (this.isSaved = true));
    }

    private on(id: string, name: string, type: string, make: (current: Current) => Promise<ArrayBuffer>): void {
        byId(id).addEventListener('click', () => {
            if (this.current) {
                void this.save(named(name, this.current), type, make(this.current));
            }
        });
    }

    private saveMap({ request, record, state }: Current): Promise<void> {
        const { label } = record.criteria[state.criterion];
        const name = named(`gamma-${label.replace(/[^\w%.]+/g, '-')}${this.format.value}`, { request, record });
        const type = 'application/octet-stream';
        return this.save(name, type, this.client.gammaMap(request, state.criterion, name));
    }

    private async save(name: string, type: string, contents: Promise<ArrayBuffer>): Promise<void> {
        const status = byId('saved');
        status.textContent = `Making ${name}`;
        try {
            saveFile(name, type, await contents);
            status.textContent = `${name} is made`;
            this.isSaved = true;
        } catch (error) {
            status.textContent = error instanceof Error ? `${name}: ${error.message}` : String(error);
        }
    }
}
