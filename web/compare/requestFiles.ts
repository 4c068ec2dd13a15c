/** The settings of the form as a file: a protocol, which is loaded and saved. */

import type { EngineClient } from '../engine/client';
import { EngineFailure } from '../engine/engine';
import type { EngineError } from '../engine/messages';
import { filesOf, usualRequest, type RequestDocument } from '../engine/request';
import { byId, el } from '../views/dom';
import type { CriteriaForm } from './criteriaForm';
import { lastingPart } from './headerForm';
import { members, sentenceOf } from './members';
import { saveFile } from './saving';

export class RequestFiles {
    private readonly choice = byId<HTMLSelectElement>('protocol-choice');

    constructor(
        private readonly client: EngineClient,
        private readonly form: CriteriaForm,
    ) {
        const input = byId<HTMLInputElement>('load-request');
        input.addEventListener('change', () => {
            const [file] = input.files ?? [];
            if (file) {
                void this.load(file);
            }
            input.value = ''; // so that the same file can be chosen again
        });
        byId('save-request').addEventListener('click', () => void this.save());
        this.choice.addEventListener('change', () => void this.choose(this.choice.value));
        void this.offerProtocols();
    }

    /** Never rejects: what is wrong is told. */
    async load(file: File): Promise<void> {
        await this.telling(`${file.name}: `, async () => {
            const { request } = await this.client.request(await file.text());
            const unmet = this.form.fill(request);
            if (unmet !== null) {
                throw new EngineFailure(unmetFailure(unmet));
            }
            this.choice.value = '';
            this.tell(`${file.name} is loaded. ${filesText(request)}`, null);
        });
    }

    /** Those that are shipped; a page that does without them when the engine does not start says so elsewhere. */
    private async offerProtocols(): Promise<void> {
        const all = await this.client.protocols().catch(() => []);
        this.choice.append(...all.map(({ name, title, source }) => el('option', { value: name, title: source }, `${name}: ${title}`)));
    }

    /** An empty name: everything as usual. */
    private async choose(name: string): Promise<void> {
        await this.telling('', async () => {
            const request = name === '' ? usualRequest() : await this.client.protocol(name);
            this.form.fill(request);
            this.tell(name === '' ? '' : `${request.title} (${request.source}).`, null);
        });
    }

    /** Of doses that others took the place of. */
    tellForgotten(): void {
        this.tell('Other doses: the factors and places that belonged to those before are set back.', null);
    }

    clear(): void {
        this.tell('', null);
    }

    startOver(): void {
        this.choice.value = '';
        this.clear();
    }

    private async save(): Promise<void> {
        await this.telling('', async () => {
            const all = this.form.asked();
            const asked = { ...all, header: lastingPart(all.header) };
            const { saved, name: called } = await this.toSave(asked);
            const name = `${called.replace(/[^\p{L}\p{N}.-]+/gu, '-') || 'request'}.json`;
            saveFile(name, 'application/json', saved);
            this.tell(`${name} is made, without files.`, null);
        });
    }

    /** What was changed is no longer what the protocol asks, and so has not its name. */
    private async toSave(asked: RequestDocument): Promise<{ saved: ArrayBuffer; name: string }> {
        const { saved, isChanged } = await this.client.request(JSON.stringify(asked));
        if (!isChanged) {
            return { saved, name: asked.name };
        }
        const nameless = { ...asked, name: '', version: '', title: '', source: '', sha256: '' };
        return { saved: (await this.client.request(JSON.stringify(nameless))).saved, name: '' };
    }

    private async telling(before: string, work: () => Promise<void>): Promise<void> {
        this.clear();
        try {
            await work();
        } catch (error) {
            const isTold = error instanceof EngineFailure;
            this.tell('', before + (isTold ? sentenceOf(error.told) : String(error)));
            if (isTold && before === '') {
                this.form.markProblem(error.told);
            }
        }
    }

    private tell(status: string, problem: string | null): void {
        byId('request-status').textContent = status;
        byId('request-problem').hidden = problem === null;
        byId('request-problem').textContent = problem;
    }
}

function unmetFailure(member: string): EngineError {
    const rest = ': this page has no field for it; the program zarngi takes it';
    const error = members[member].word + rest;
    return { error, kind: 'request', parts: [{ member }, { text: rest }], file: '', member };
}

function filesText(request: RequestDocument): string {
    const names = [...new Set(filesOf(request).map((path) => path.replace(/.*[\\/]/, '')))];
    return names.length === 0 ? '' : `The files that it names are not: ${names.join(', ')}.`;
}
