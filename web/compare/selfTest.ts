/** The acceptance test of this page in this browser, whose record is saved as a page and as JSON. */

import type { EngineClient } from '../engine/client';
import type { SelfTestRecord } from '../engine/messages';
import { byId } from '../views/dom';
import { saveFile } from './saving';

interface Outcome {
    record: SelfTestRecord;
    page: ArrayBuffer;
}

function verdict({ passed, cases, seconds }: SelfTestRecord): string {
    const count = cases.filter((one) => one.passed).length;
    const told = `${count} of ${cases.length} cases passed in ${seconds.toFixed(0)} s. `;
    return told + (passed ? 'This page computes what it should.' : 'This page must not be used in this browser.');
}

/** @param start an engine of its own, so that comparisons go on */
export function setUpSelfTest(start: () => EngineClient): void {
    const status = byId('self-test-status');
    const bar = byId<HTMLProgressElement>('self-test-bar');
    const button = byId<HTMLButtonElement>('self-test');
    const saving = byId('self-test-save');
    let outcome: Outcome | null = null;

    const run = async (): Promise<void> => {
        const client = start();
        button.disabled = true;
        saving.hidden = true;
        bar.hidden = false;
        bar.value = 0;
        status.textContent = 'Testing';
        try {
            outcome = await client.selfTest(({ share }) => (bar.value = share));
            status.textContent = verdict(outcome.record);
            saving.hidden = false;
        } catch (error) {
            status.textContent = error instanceof Error ? error.message : String(error);
        }
        client.close();
        bar.hidden = true;
        button.disabled = false;
    };
    button.addEventListener('click', () => void run());
    byId('self-test-page').addEventListener('click', () => {
        if (outcome) {
            saveFile('acceptance.html', 'text/html', outcome.page);
        }
    });
    byId('self-test-json').addEventListener('click', () => {
        if (outcome) {
            const text = `${JSON.stringify(outcome.record, null, 2)}\n`;
            saveFile('acceptance.json', 'application/json', new TextEncoder().encode(text).buffer);
        }
    });
}
