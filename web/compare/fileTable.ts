/** How files are described. */

import type { FileFacts } from '../engine/messages';
import { el } from '../views/dom';
import { none, plain } from '../views/format';
import type { DoseFile, Unused } from './filePool';

const kinds: Record<FileFacts['kind'], string> = {
    dose: 'dose',
    mask: 'label mask',
    structures: 'structures',
    plan: 'plan',
    foreign: '',
    refused: '',
};

function size(dose: DoseFile): string {
    return dose.grid.size.join(' × ');
}

/** Of the axes along which there are several places; points have none. */
function spacing(dose: DoseFile): string {
    const told = dose.measurement?.kind === 'points' ? [] : dose.grid.spacing;
    return told.flatMap((mm) => mm ?? []).map(plain).join(' × ');
}

function maximum(dose: DoseFile): string {
    const highest = dose.grid.maximum?.dose;
    return highest === undefined ? none : `${plain(Number(highest.toPrecision(4)))} ${dose.doseUnit}`;
}

/** A dose in a list to choose from: what tells it from the others. */
export function optionText(dose: DoseFile): string {
    const { summationType, planLabel } = dose.dicom ?? { summationType: '', planLabel: '' };
    return [dose.path, summationType, planLabel, size(dose), maximum(dose)].filter(Boolean).join(', ');
}

export function descriptionOf(file: FileFacts): string {
    if (file.kind === 'structures' || file.kind === 'mask') {
        const { label, names } = file.kind === 'mask' ? file.mask : file;
        const count = names.length === 1 ? '1 structure' : `${names.length} structures`;
        return [label, count].filter(Boolean).join(', ');
    }
    if (file.kind === 'plan') {
        return file.label;
    }
    if (file.kind === 'dose' && file.dicom) {
        const { summationType, doseType, planLabel } = file.dicom;
        return [summationType, doseType, planLabel].filter(Boolean).join(', ');
    }
    return '';
}

export function fileRow(file: FileFacts, role: string, description: string, use: HTMLElement | null): HTMLElement {
    const isDose = file.kind === 'dose' || file.kind === 'mask';
    const format = 'format' in file ? file.format : '';
    return el(
        'tr',
        { 'data-path': file.path, 'data-kind': file.kind },
        el('td', { class: 'word', title: file.path }, file.path),
        el('td', { class: 'word' }, [kinds[file.kind], format].filter(Boolean).join(', ')),
        el('td', { class: 'word' }, description),
        el('td', {}, isDose ? size(file) : ''),
        el('td', {}, isDose ? spacing(file) : ''),
        el('td', {}, isDose ? maximum(file) : ''),
        el('td', { class: 'word' }, role, use),
    );
}

/** "38 other DICOM files and 2 other files left out"; empty where there are none. */
export function leftOutText(unused: Unused[]): string {
    const foreign = unused.filter((f) => f.kind === 'foreign');
    const dicom = foreign.filter((f) => f.isDicom).length;
    const count = (n: number, what: string): string[] =>
        n === 0 ? [] : [`${n} other ${what}${n === 1 ? '' : 's'}`];
    const parts = [...count(dicom, 'DICOM file'), ...count(foreign.length - dicom, 'file')];
    return parts.length === 0 ? '' : `${parts.join(' and ')} left out`;
}
