/** Files are dropped or chosen, told apart, and given their roles. */

import type { TableUnits } from '../engine/request';
import { byId, el } from '../views/dom';
import type { EngineClient } from '../engine/client';
import type { EngineError, ExamplePart, FileFacts } from '../engine/messages';
import { Conversion } from './conversion';
import { chosen, dropped, type NamedFile } from './dropped';
import { FilePool } from './filePool';
import { descriptionOf, fileRow, leftOutText, optionText } from './fileTable';
import { sentenceOf } from './members';
import { initialRoles, noRoles, type Roles } from './roles';

export type { Roles } from './roles';

type Role = 'reference' | 'evaluation' | 'structures' | 'reference-uncertainty' | 'evaluation-uncertainty';

export interface FileListener {
    /** Told of the roles whenever they are others; incomplete ones too. */
    changed(roles: Roles): void;
    /** All files are read. */
    idle(): void;
    /** Takes a request that came among the files. */
    request(file: File): Promise<void>;
    /** Of tables that tell none. */
    units(): TableUnits;
    /** A file was chosen for the uncertainties of a dose. */
    uncertainty(field: 'reference-uncertainty' | 'evaluation-uncertainty', path: string): void;
    /** Other doses take the place of both. */
    replaced(): void;
    /** Nothing of what was before is to stay. */
    startOver(): void;
}

export class FileSection {
    private readonly pool: FilePool;
    private readonly conversion: Conversion;
    private roles: Roles = noRoles();
    private problem: { path: string; sentence: string } | null = null;
    private readonly reference = byId<HTMLSelectElement>('reference-choice');
    private readonly evaluation = byId<HTMLSelectElement>('evaluation-choice');
    private queue: Promise<void> = Promise.resolve();
    private queued = 0;

    constructor(
        private readonly client: EngineClient,
        private readonly listener: FileListener,
    ) {
        this.pool = new FilePool(client, () => listener.units());
        this.conversion = new Conversion(client, () => listener.units());
        this.listenToInputs();
        this.listenToDrops();
        this.listenToRoles();
    }

    isReading(): boolean {
        return this.queued > 0;
    }

    /** Shows a failure beside the file that it is about; false where there is none. */
    tellProblem(failure: EngineError | null): boolean {
        const paths = [this.roles.reference, this.roles.evaluation, ...this.roles.structures, ...this.roles.plans];
        const isOfFile = failure !== null && paths.includes(failure.file);
        this.problem = isOfFile ? { path: failure.file, sentence: sentenceOf(failure) } : null;
        this.render();
        return this.problem !== null;
    }

    private listenToInputs(): void {
        const inputs: [string, Role | null][] = [
            ['any-files', null], ['folder', null], ['reference-file', 'reference'],
            ['evaluation-file', 'evaluation'], ['structures-file', 'structures'],
            ['reference-uncertainty-file', 'reference-uncertainty'],
            ['evaluation-uncertainty-file', 'evaluation-uncertainty'],
        ];
        for (const [id, role] of inputs) {
            const input = byId<HTMLInputElement>(id);
            input.addEventListener('change', () => {
                const files = chosen(input.files);
                input.value = ''; // so that the same file can be chosen again
                this.enqueue(() => this.take(files, role));
            });
        }
        byId('example').addEventListener('click', () => this.enqueue(() => this.takeExample()));
        byId('start-over').addEventListener('click', () =>
            this.enqueue(() => {
                this.listener.startOver();
                return this.clear();
            }),
        );
    }

    private listenToDrops(): void {
        const area = byId('drop-area');
        const mark = (isOver: boolean) => area.classList.toggle('over', isOver);
        document.addEventListener('dragover', (event) => {
            event.preventDefault();
            mark(true);
        });
        document.addEventListener('dragleave', (event) => mark(event.relatedTarget !== null));
        document.addEventListener('drop', (event) => {
            event.preventDefault();
            mark(false);
            if (event.dataTransfer) {
                const files = dropped(event.dataTransfer);
                this.enqueue(async () => this.take(await files, null));
            }
        });
    }

    private listenToRoles(): void {
        const choose = (): void => {
            this.roles.reference = this.reference.value || null;
            this.roles.evaluation = this.evaluation.value || null;
            this.roles.guess = null;
            this.tell();
        };
        this.reference.addEventListener('change', choose);
        this.evaluation.addEventListener('change', choose);
        byId('swap').addEventListener('click', () => {
            const { reference, evaluation } = this.roles;
            this.roles = { ...this.roles, reference: evaluation, evaluation: reference, guess: null };
            this.tell();
        });
        byId('confirm-roles').addEventListener('click', () => {
            this.roles.guess = null;
            this.tell();
        });
    }

    /** One after another: files that come while others are read belong to those. */
    private enqueue(work: () => Promise<void>): void {
        this.queued += 1;
        this.queue = this.queue
            .then(work)
            .catch((error: unknown) => {
                byId('reading').textContent = '';
                this.showProblems([error instanceof Error ? error.message : String(error)]);
            })
            .then(() => {
                this.queued -= 1;
                if (this.queued === 0) {
                    this.listener.idle();
                }
            });
    }

    private async take(given: NamedFile[], role: Role | null): Promise<void> {
        const request = role === null ? requestOf(given) : undefined;
        if (request) {
            await this.listener.request(request.file);
        }
        const batch = given.filter((file) => file !== request);
        if (batch.length === 0) {
            return;
        }
        const found = await this.pool.add(batch, tellReading);
        byId('reading').textContent = '';
        if (role) {
            this.giveRole(role, found);
        } else {
            await this.giveRoles(found);
        }
        this.tell();
        this.showProblems(this.problemsOf(found, role !== null));
    }

    /** Other units of tables: what was refused for want of them may be a dose now. */
    readAgain(): void {
        this.enqueue(async () => {
            const found = await this.pool.readAgain(tellReading);
            byId('reading').textContent = '';
            if (found.length > 0) {
                this.forgetRefused();
                this.roles = initialRoles(this.roles, found.filter((f) => !this.hasRole(f.path)));
                this.tell();
                this.showProblems(this.problemsOf(found, false));
            }
        });
    }

    private hasRole(path: string): boolean {
        return path === this.roles.reference || path === this.roles.evaluation;
    }

    /** A dose that is none any more, since its unit is not told now, has no role. */
    private forgetRefused(): void {
        for (const role of ['reference', 'evaluation'] as const) {
            const path = this.roles[role];
            if (path !== null && this.pool.of(path)?.kind === 'refused') {
                this.roles[role] = null;
            }
        }
    }

    private async giveRoles(found: FileFacts[]): Promise<void> {
        const doses = found.filter((f) => f.kind === 'dose');
        if (doses.length >= 2) {
            if (this.roles.reference && this.roles.evaluation) {
                this.listener.replaced();
            }
            await this.pool.keepOnly(new Set(found.map((f) => f.path)));
            this.roles = noRoles();
        }
        this.roles = initialRoles(this.roles, found);
    }

    private giveRole(role: Role, found: FileFacts[]): void {
        if (role === 'structures') {
            const sets = found.filter((f) => f.kind === 'structures' || f.kind === 'mask');
            sets.forEach((f) => this.roles.structures.add(f.path));
            return;
        }
        const dose = found.find((f) => f.kind === 'dose') ?? found.find((f) => f.kind === 'mask');
        if (!dose) {
            return;
        }
        if (role === 'reference-uncertainty' || role === 'evaluation-uncertainty') {
            this.listener.uncertainty(role, dose.path);
        } else {
            this.roles[role] = dose.path;
            this.roles.guess = null;
        }
    }

    /** A file that was chosen by itself, or nothing but files of no use: told one by one. */
    private problemsOf(found: FileFacts[], hasRole: boolean): string[] {
        const unused = this.pool.unused().filter((f) => found.some(({ path }) => path === f.path));
        const isAll = unused.length === found.length && found.length <= 5;
        const told = unused.filter((f) => f.kind === 'refused' || hasRole || isAll);
        return told.map((f) => `${f.path}: ${f.sentence}`);
    }

    private showProblems(sentences: string[]): void {
        byId('file-problems').replaceChildren(...sentences.map((s) => el('p', { role: 'alert' }, s)));
    }

    private async takeExample(): Promise<void> {
        const parts: ExamplePart[] = ['reference', 'evaluation', 'structures'];
        const files: NamedFile[] = [];
        for (const part of parts) {
            const file = await this.client.example(part);
            files.push({ path: file.name, file });
        }
        await this.clear();
        await this.take(files, null);
    }

    private async clear(): Promise<void> {
        await this.pool.keepOnly(new Set());
        this.roles = noRoles();
        this.showProblems([]);
        this.tell();
    }

    private tell(): void {
        this.problem = null;
        this.render();
        this.listener.changed(this.roles);
    }

    private render(): void {
        const doses = this.pool.doses();
        const sets = this.pool.structures();
        byId('chosen').hidden = doses.length + sets.length === 0;
        for (const [select, path] of [
            [this.reference, this.roles.reference], [this.evaluation, this.roles.evaluation],
        ] as const) {
            const options = doses.map((d) => el('option', { value: d.path, selected: d.path === path }, optionText(d)));
            const empty = el('option', { value: '', selected: path === null }, 'Choose a dose');
            select.replaceChildren(...(path === null ? [empty] : []), ...options);
        }
        byId('dose-names').replaceChildren(...doses.map((d) => el('option', { value: d.path })));
        byId<HTMLButtonElement>('swap').disabled = !this.roles.reference || !this.roles.evaluation;
        byId('choose-hint').textContent = this.hint(doses.length);
        const { guess, reference } = this.roles;
        byId('guess').hidden = guess === null;
        byId('guess-reason').textContent = guess === null ? '' : `${reference} was taken for the reference ${guess}: swap the doses where it is not.`;
        const files = [...doses, ...sets.filter((s) => s.kind === 'structures'), ...this.pool.plans()];
        byId('file-rows').replaceChildren(...files.flatMap((f) => this.rowsOf(f)));
        byId('left-out').textContent = leftOutText(this.pool.unused());
        this.conversion.show(doses, this.pool.plans());
    }

    private hint(doses: number): string {
        const { reference, evaluation } = this.roles;
        if (reference && evaluation) {
            return '';
        }
        return doses < 2 ? 'A comparison takes two doses.' : `${doses} doses: choose the two to compare.`;
    }

    private rowsOf(file: FileFacts): HTMLElement[] {
        const { roles } = this;
        const role = file.path === roles.reference ? 'reference' : file.path === roles.evaluation ? 'evaluation' : '';
        const row = fileRow(file, role, descriptionOf(file), this.boxOf(file));
        const isMeant = this.problem?.path === file.path;
        const problem = el('td', { colspan: 7, class: 'word failure', role: 'alert' }, this.problem?.sentence);
        return isMeant ? [row, el('tr', {}, problem)] : [row];
    }

    /** The choice to use a file as structures or as a plan, where it can be. */
    private boxOf(file: FileFacts): HTMLElement | null {
        if (file.kind !== 'structures' && file.kind !== 'mask' && file.kind !== 'plan') {
            return null;
        }
        const name = file.kind === 'plan' ? 'plan' : 'structures';
        const used = file.kind === 'plan' ? this.roles.plans : this.roles.structures;
        const box = el('input', { type: 'checkbox', checked: used.has(file.path), 'data-path': file.path });
        box.addEventListener('change', () => {
            if (box.checked) {
                used.add(file.path);
            } else {
                used.delete(file.path);
            }
            this.tell();
        });
        return el('label', {}, box, ` ${name}`);
    }
}

function tellReading(done: number, of: number): void {
    byId('reading').textContent = of > 1 ? `Reading file ${done + 1} of ${of}` : 'Reading the file';
}

/** The one that stands among files by itself; those of a folder belong to something else. */
function requestOf(files: NamedFile[]): NamedFile | undefined {
    const found = files.filter(({ path }) => /^[^/]*\.json$/i.test(path));
    return found.length === 1 ? found[0] : undefined;
}
