import { byId, el } from './dom';
import type { StructuresRecord } from './record';

/** What a person should know of structures; what several share stands once, with their names behind it. */
export function showStructureNotes({ list, refused }: StructuresRecord): void {
    const names = new Map<string, string[]>();
    list.forEach((s) => s.notes.forEach((note) => names.set(note, [...(names.get(note) ?? []), s.name])));
    const notes = [...names].map(([note, of]) =>
        of.length === 1 ? `${of[0]} ${note}.` : `${of.length} structures: each ${note}: ${of.join(', ')}.`,
    );
    const lines = [...(refused ?? []).map((r) => `${r.name} is left out: it ${r.reason}.`), ...notes];
    byId('structure-notes').replaceChildren(...lines.map((line) => el('li', {}, line)));
    byId('structure-notes').hidden = lines.length === 0;
}
