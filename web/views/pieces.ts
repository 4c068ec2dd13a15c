/** Long work in pieces, so that the page answers while it is done. */

/** ms; a page that answers within 50 ms leaves time for drawing. */
const longest = 10;

const channel = new MessageChannel();
const resumed: (() => void)[] = [];
channel.port1.onmessage = (): void => resumed.shift()?.();

/** Lets the browser do what waits. Unlike a timer it is not slowed down in a hidden page. */
export function pause(): Promise<void> {
    return new Promise((go) => {
        resumed.push(go);
        channel.port2.postMessage(null);
    });
}

export class Pieces {
    private end = performance.now() + longest;

    /** Whether the work has to rest now. */
    isDue(): boolean {
        return performance.now() > this.end;
    }

    async rest(): Promise<void> {
        await pause();
        this.end = performance.now() + longest;
    }
}

/** Calls `work` for ranges that make up 0 to `count`, and rests between them where it has to. */
export async function inPieces(
    count: number,
    work: (from: number, to: number) => void,
    range = 1 << 16,
): Promise<void> {
    const pieces = new Pieces();
    for (let from = 0; from < count; from += range) {
        work(from, Math.min(from + range, count));
        if (pieces.isDue()) {
            await pieces.rest();
        }
    }
}
