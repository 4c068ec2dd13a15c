import { byId, el } from './dom';
import { fixed, none, plain } from './format';
import type { GoalRecord } from './record';
import { chip } from './summary';

const relations: Record<string, string> = { '<=': '≤', '>=': '≥' };

/** Two decimals; more where they would show a difference or a margin as nothing. */
function shown(value: number | null): string {
    if (value === null) {
        return none;
    }
    const isHidden = value !== 0 && Math.abs(value) < 0.005;
    return isHidden ? plain(Number(value.toPrecision(2))) : fixed(value, Math.abs(value) < 1 ? 3 : 2);
}

/** The smallest of those that decide. */
function marginOf({ reference, evaluation, difference }: GoalRecord): number | null {
    const margins = [reference, evaluation, difference].flatMap(({ margin }) => margin ?? []);
    return margins.length > 0 ? Math.min(...margins) : null;
}

function withUnit(text: string, unit: string): string {
    return unit === '' ? text : `${text}\u00a0${unit}`;
}

/** What was found: of both doses and their difference, or of the one dose. */
function foundIn({ reference, evaluation, difference, unit }: GoalRecord, isPair: boolean): HTMLElement[] {
    return isPair
        ? [reference, evaluation, difference].map(({ value }) => el('td', {}, shown(value)))
        : [el('td', {}, withUnit(shown(reference.value), reference.value === null ? '' : unit))];
}

function rowOf(goal: GoalRecord, isPair: boolean): HTMLElement {
    const { structure, figure, relation, limit, limitUnit, verdict, note } = goal;
    const asked = `${figure} ${relations[relation] ?? relation} ${withUnit(plain(limit), limitUnit)}`;
    const margin = marginOf(goal);
    return el(
        'tr',
        { 'data-verdict': verdict },
        el('th', { scope: 'row', class: 'word' }, structure),
        el('td', { class: 'word' }, asked),
        ...foundIn(goal, isPair),
        el('td', {}, margin === null ? none : (margin > 0 ? '+' : '') + shown(margin)),
        el('td', { class: 'word' }, verdict === 'none' ? `Not determined: ${note ?? ''}` : chip(verdict)),
    );
}

/** "3 of 5 goals met" beside the verdict, and the table of them; nothing where none is set. */
export function showGoals(goals: GoalRecord[], isPair: boolean): void {
    if (goals.length === 0) {
        return;
    }
    const met = goals.filter(({ verdict }) => verdict === 'pass').length;
    const sentence = `${met} of ${goals.length} goals met`;
    const line = byId('verdict-goals');
    line.hidden = false;
    line.replaceChildren(chip(met === goals.length ? 'pass' : 'fail'), ` ${sentence}`);
    byId('goal-card').hidden = false;
    byId('goal-rows').replaceChildren(...goals.map((goal) => rowOf(goal, isPair)));
}
