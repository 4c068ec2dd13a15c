/** Saves a dose of the page in another format, also as an RT Dose of another file's patient. */

import type { EngineClient } from '../engine/client';
import { EngineFailure } from '../engine/engine';
import type { FileFacts } from '../engine/messages';
import type { TableUnits } from '../engine/request';
import { byId, el } from '../views/dom';
import type { DoseFile } from './filePool';
import { sentenceOf } from './members';
import { saveFile } from './saving';

/** What ends the name of a file of doses. */
const ending = /(\.(dcm|nrrd|nhdr|mha|mhd|nii|hdr|img|3ddose|csv|binheader))?(\.gz)?$/i;

/** A volume: what the other formats can hold. */
function isVolume(dose: DoseFile): boolean {
    return dose.measurement === null;
}

export class Conversion {
    private readonly dose = byId<HTMLSelectElement>('convert-dose');
    private readonly format = byId<HTMLSelectElement>('convert-format');
    private readonly like = byId<HTMLSelectElement>('convert-like');
    private readonly scale = byId<HTMLInputElement>('convert-scale');
    private readonly question = byId<HTMLDialogElement>('names-patient');

    /** @param units of doses that tell none, as they are given now */
    constructor(
        private readonly client: EngineClient,
        private readonly units: () => TableUnits,
    ) {
        byId('convert').addEventListener('click', () => void this.save());
        this.format.addEventListener('change', () => this.allowLike());
        this.allowLike();
    }

    /** What can be saved, and whose patients there are. */
    show(doses: DoseFile[], plans: FileFacts[]): void {
        const volumes = doses.filter(isVolume);
        byId('convert-details').hidden = volumes.length === 0;
        fill(this.dose, volumes);
        fill(this.like, [...doses.filter(({ dicom }) => dicom !== undefined), ...plans], 'nobody');
    }

    /** Only DICOM has patients and studies. */
    private allowLike(): void {
        this.like.disabled = this.format.value !== '.dcm';
    }

    private async save(): Promise<void> {
        const path = this.dose.value;
        const name = path.split('/').pop()!.replace(ending, '') + this.format.value;
        const like = this.like.disabled ? '' : this.like.value;
        const status = byId('converted');
        status.textContent = `Making ${name}`;
        try {
            const { file, namesPatient } = await this.client.convert({
                path, name, like, scale: this.scale.value.trim(), units: this.units(),
                allowErrorDoses: byId<HTMLInputElement>('error-doses').checked,
            });
            const isWanted = !namesPatient || (await this.isAgreed(name, like));
            if (isWanted) {
                saveFile(name, 'application/octet-stream', file);
            }
            status.textContent = isWanted ? `${name} is made` : `${name} is not saved`;
        } catch (error) {
            status.textContent = error instanceof EngineFailure ? sentenceOf(error.told) : (error as Error).message;
        }
    }

    /** Whether a file that names a patient is to leave the page. */
    private isAgreed(name: string, like: string): Promise<boolean> {
        byId('names-patient-text').textContent = `${name} tells whose it is: name, ID and date of birth of the patient of ${like}.`;
        this.question.returnValue = '';
        this.question.showModal();
        return new Promise((answer) => {
            this.question.addEventListener('close', () => answer(this.question.returnValue === 'save'), { once: true });
        });
    }
}

/** Choices, of which the one that was chosen stays. @param nothing what none of them is called */
function fill(select: HTMLSelectElement, files: { path: string }[], nothing?: string): void {
    const chosen = select.value;
    const none = nothing === undefined ? [] : [el('option', { value: '' }, nothing)];
    const options = files.map(({ path }) => el('option', { value: path, selected: path === chosen }, path));
    select.replaceChildren(...none, ...options);
}
