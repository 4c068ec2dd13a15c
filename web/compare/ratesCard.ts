/** Pass rates by criterion around what was asked, filled in while nothing else is computed. */

import type { EngineClient } from '../engine/client';
import type { RatesAnswer } from '../engine/messages';
import type { RequestDocument } from '../engine/request';
import { byId, el } from '../views/dom';
import { nameOfCriterion } from '../views/judged';
import { legendOf, limitsOf, SweepMap, type SweepRate } from '../views/sweepMap';
import type { Current } from './comparisons';

const steps = [1, 2, 3, 4, 5];

export class RatesCard {
    private current: Current | null = null;
    private known = new Map<string, RatesAnswer>();
    private map: SweepMap | null = null;
    private isFilling = false;
    private readonly local = byId<HTMLInputElement>('rates-local');
    private readonly part = byId<HTMLSelectElement>('rates-part');

    /**
     * @param isFree whether the engine has nothing else to do
     * @param choose makes this the criterion, in the place of the one with this index
     */
    constructor(
        private readonly client: EngineClient,
        private readonly isFree: () => boolean,
        private readonly choose: (index: number, criterion: string) => void,
    ) {
        this.local.addEventListener('change', () => this.build());
        this.part.addEventListener('change', () => this.build());
    }

    show(current: Current | null): void {
        const isOther = !current || !this.current || baseOf(current.request) !== baseOf(this.current.request);
        this.current = current;
        byId('rates').hidden = !current;
        if (!current) {
            return;
        }
        if (isOther) {
            this.known = new Map();
            const names = current.record.structures?.list.map((s) => s.name) ?? [];
            this.part.replaceChildren(...['all tested voxels', ...names].map((name) => el('option', {}, name)));
            byId<HTMLElement>('rates-part').closest('label')!.hidden = names.length === 0;
        }
        this.build();
    }

    /** Goes on where nothing else is computed: one field at a time, so that nobody waits for long. */
    async fill(): Promise<void> {
        if (this.isFilling) {
            return;
        }
        this.isFilling = true;
        try {
            for (let next = this.next(); next && this.isFree(); next = this.next()) {
                const { current, known } = this;
                known.set(next.label, await this.client.rates(current!.request, next.label));
                if (known === this.known) {
                    this.map?.refresh(next.row, next.column);
                }
            }
        } catch {
            // Whoever stopped it, or the comparison that fails, tells why; the next result goes on.
        } finally {
            this.isFilling = false;
        }
    }

    private build(): void {
        const { current } = this;
        if (!current) {
            return;
        }
        const structure = current.record.structures?.list[this.part.selectedIndex - 1];
        const limits = limitsOf(current.record, structure?.name ?? null);
        this.map = new SweepMap({
            rows: steps,
            columns: steps,
            local: this.local.checked,
            limits,
            rate: (row, column) => this.rate(row, column),
            isComputed: (row, column) => current.record.criteria.some((c) => c.label === this.label(row, column)),
            onChoose: (row, column) => this.take(row, column),
        });
        byId('rates-map').replaceChildren(this.map.element);
        byId('rates-legend').textContent = legendOf(limits);
        void this.fill();
    }

    private rate(row: number, column: number): SweepRate {
        const answer = this.known.get(this.label(row, column));
        const part = this.part.selectedIndex - 1;
        return !answer ? 'pending' : part < 0 ? answer.passRate : (answer.structures[part] ?? null);
    }

    private label(row: number, column: number): string {
        return `${steps[row]}%${this.local.checked ? 'L' : ''}/${steps[column]}mm`;
    }

    private take(row: number, column: number): void {
        const { current } = this;
        const label = this.label(row, column);
        const structure = current?.record.structures?.list[this.part.selectedIndex - 1];
        const asked = structure ? `${structure.name}:${label}` : label;
        const index = current?.record.criteria.findIndex((c) => nameOfCriterion(c) === asked) ?? -1;
        if (index >= 0) {
            byId(`criterion-${index}`).click();
        } else if (current) {
            this.choose(current.state.criterion, asked);
        }
    }

    /** The unknown field nearest to the criterion shown. */
    private next(): { row: number; column: number; label: string } | null {
        if (!this.current) {
            return null;
        }
        const { criteria } = this.current.record;
        const { doseDifference, distance } = criteria[this.current.state.criterion];
        const far = (row: number, column: number): number =>
            Math.hypot(steps[row] - doseDifference, steps[column] - distance);
        const open = steps.flatMap((_, row) =>
            steps.flatMap((__, column) => {
                const label = this.label(row, column);
                return this.known.has(label) ? [] : [{ row, column, label, far: far(row, column) }];
            }),
        );
        return open.sort((a, b) => a.far - b.far)[0] ?? null;
    }
}

/** What rates depend on, beside the criterion. */
function baseOf(request: RequestDocument): string {
    const { criteria, limits, name, version, explain, sweeps, structures, refuse, referenceGuessed, ...base } = request;
    const { metrics, prescription, ...parts } = structures;
    return JSON.stringify({ ...base, parts });
}
