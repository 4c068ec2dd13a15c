/** The files that the page was given, and what the engine finds in them. */

import type { EngineClient } from '../engine/client';
import type { DoseFacts, FileFacts, StructureFacts } from '../engine/messages';
import type { TableUnits } from '../engine/request';
import type { NamedFile } from './dropped';

export type DoseFile = FileFacts & DoseFacts;
export type StructureFile = FileFacts & ({ kind: 'structures' } & StructureFacts);
export type Mask = FileFacts & { kind: 'mask' };
export type Unused = FileFacts & { kind: 'foreign' | 'refused' };

export class FilePool {
    private readonly facts = new Map<string, FileFacts>();
    private readonly files = new Map<string, File>();
    private batches = 0;

    /** @param units of tables that tell none, as they are given now */
    constructor(
        private readonly client: EngineClient,
        private readonly units: () => TableUnits,
    ) {}

    /** Takes files in; gives what each is. @param told of files that are read, and of how many */
    async add(batch: NamedFile[], told: (done: number, of: number) => void): Promise<FileFacts[]> {
        const named = this.unambiguous(batch);
        for (const { path, file } of named) {
            this.files.set(path, file);
            await this.client.setFile(path, file);
        }
        // What was refused may have lacked a file that is there now.
        const refused = this.all().flatMap((f) => (f.kind === 'refused' ? [f.path] : []));
        return this.identify(new Set([...refused, ...named.map(({ path }) => path)]), told);
    }

    /** What files are that may be others by units that they do not tell, which have changed. */
    async readAgain(told: (done: number, of: number) => void): Promise<FileFacts[]> {
        const hasUnit = (f: FileFacts): boolean =>
            f.kind === 'refused' || (f.kind === 'dose' && (f.measurement !== null || f.dicom !== undefined));
        return this.identify(new Set(this.all().filter(hasUnit).map((f) => f.path)), told);
    }

    private async identify(paths: Set<string>, told: (done: number, of: number) => void): Promise<FileFacts[]> {
        const found: FileFacts[] = [];
        for (const path of paths) {
            told(found.length, paths.size);
            found.push(await this.client.identify(path, this.units()));
            this.facts.set(path, found[found.length - 1]);
        }
        return found;
    }

    /** Forgets all files but these. */
    async keepOnly(paths: Set<string>): Promise<void> {
        const others = [...this.files.keys()].filter((path) => !paths.has(path));
        for (const path of others) {
            this.files.delete(path);
            this.facts.delete(path);
        }
        await Promise.all(others.map((path) => this.client.setFile(path, null)));
    }

    /** Doses, and masks, which are doses as well. */
    doses(): DoseFile[] {
        return this.all().filter((f): f is DoseFile => f.kind === 'dose' || f.kind === 'mask');
    }

    /** Structure sets, and masks. */
    structures(): (StructureFile | Mask)[] {
        return this.all().filter((f): f is StructureFile | Mask => f.kind === 'structures' || f.kind === 'mask');
    }

    plans(): FileFacts[] {
        return this.all().filter((f) => f.kind === 'plan');
    }

    /** What is none of these, and no data file of a header. */
    unused(): Unused[] {
        const data = new Set(this.all().flatMap((f) => ('dataPath' in f ? [f.dataPath] : [])));
        return this.all().filter(
            (f): f is Unused => (f.kind === 'foreign' || f.kind === 'refused') && !data.has(f.path),
        );
    }

    of(path: string): FileFacts | undefined {
        return this.facts.get(path);
    }

    private all(): FileFacts[] {
        return [...this.facts.values()].sort((a, b) => (a.path < b.path ? -1 : 1));
    }

    /**
     * A path stands for one file: where another one has it, the batch gets a folder of its own. Files
     * of a header and its data stay side by side.
     */
    private unambiguous(batch: NamedFile[]): NamedFile[] {
        const isTaken = batch.some(({ path, file }) => {
            const known = this.files.get(path);
            return known && !isSame(known, file);
        });
        this.batches += 1;
        return isTaken ? batch.map(({ path, file }) => ({ path: `${this.batches}/${path}`, file })) : batch;
    }
}

function isSame(a: File, b: File): boolean {
    return a.size === b.size && a.lastModified === b.lastModified;
}
