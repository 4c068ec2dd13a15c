import type { Progress } from '../engine/messages';
import { byId } from '../views/dom';

/** ms: what is done sooner needs no telling. */
const patience = 300;

/** How far a computation is, with the button that stops it. */
export class ProgressLine {
    private readonly line = byId('progress');
    private readonly bar = byId<HTMLProgressElement>('progress-bar');
    private readonly text = byId('progress-text');
    private timer = 0;
    private criteria = 1;
    private seen: string[] = [];

    constructor(stop: () => void) {
        byId('stop').addEventListener('click', stop);
    }

    begin(criteria: number): void {
        this.criteria = criteria;
        this.seen = [];
        this.text.textContent = 'Reading';
        this.bar.removeAttribute('value');
        clearTimeout(this.timer);
        this.timer = window.setTimeout(() => (this.line.hidden = false), patience);
    }

    tell({ criterion, shell, shellLimit, share }: Progress): void {
        if (shell === 0) {
            this.bar.value = share;
            this.text.textContent = criterion; // what is done beyond the criteria
            return;
        }
        if (!this.seen.includes(criterion)) {
            this.seen.push(criterion);
        }
        const done = this.seen.length - 1 + (shell - 1 + share) / Math.max(shellLimit, 1);
        this.bar.value = Math.min(done / Math.max(this.criteria, 1), 1);
        const shells = `: shell ${shell} of at most ${shellLimit}`;
        this.text.textContent = criterion + (shellLimit > 1 ? shells : ''); // in parts, or by points: none
    }

    end(): void {
        clearTimeout(this.timer);
        this.line.hidden = true;
    }
}
