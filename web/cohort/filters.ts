import { byId, el } from '../views/dom';
import { counted, whole } from '../views/format';
import type { Selection, Verdict } from './selection';

const verdicts: [Verdict, string][] = [
    ['pass', 'tolerance met'],
    ['investigate', 'between the limits'],
    ['fail', 'below the action limit'],
    ['none', 'no pass rate'],
];

/** A value of a select that stands for everything; no text of the data is the same. */
const all = '\u0000';

/** What is chosen to be shown. */
export class Filters {
    private readonly criterion = byId<HTMLSelectElement>('criterion');
    private readonly structure = byId<HTMLSelectElement>('structure');
    private readonly group = byId<HTMLSelectElement>('group');
    private readonly verdict = byId<HTMLSelectElement>('verdict');
    private readonly find = byId<HTMLInputElement>('find');

    constructor(private readonly selection: Selection) {
        const { record } = selection;
        const criteria = [...new Set(record.series.map((s) => s.criterion))];
        fill(this.criterion, criteria.map((c) => [c, c]));
        fill(this.structure, selection.structures.map((s) => [s, s || 'everything tested']));
        fill(this.group, [[all, 'all'], ...named(selection.groups)]);
        fill(this.verdict, [[all, 'all'], ...verdicts]);
        byId('structure-label').hidden = selection.structures.length < 2;
        byId('group-name').textContent = record.groupedBy === 'group' ? 'Group' : record.groupedBy;
        this.listen();
        selection.subscribe(() => this.show());
    }

    private listen(): void {
        const form = byId<HTMLFormElement>('filters');
        form.addEventListener('submit', (event) => event.preventDefault());
        form.addEventListener('input', () => this.choose());
        form.addEventListener('reset', () => {
            this.selection.update({ group: null, verdict: null, find: '' });
        });
    }

    private choose(): void {
        const group = this.group.value === all ? null : this.group.value;
        this.selection.update({
            criterion: this.criterion.value,
            structure: this.structure.value,
            group,
            verdict: this.verdict.value === all ? null : (this.verdict.value as Verdict),
            find: this.find.value,
            ...(group === null ? {} : { chartGroup: group }),
        });
    }

    private show(): void {
        const { choice, shown, record } = this.selection;
        this.criterion.value = choice.criterion;
        this.structure.value = choice.structure;
        this.group.value = choice.group ?? all;
        this.verdict.value = choice.verdict ?? all;
        if (this.find.value !== choice.find) {
            this.find.value = choice.find;
        }
        const total = record.pairs.id.length;
        byId('shown').textContent = `${whole(shown.length)} of ${counted(total, 'pair')} shown`;
    }
}

function named(values: string[]): [string, string][] {
    return values.map((value) => [value, value || '(none)']);
}

function fill(select: HTMLSelectElement, options: [string, string][]): void {
    select.replaceChildren(...options.map(([value, text]) => el('option', { value }, text)));
}
