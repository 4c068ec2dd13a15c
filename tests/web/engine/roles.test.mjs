// Which of two doses the page takes for the reference, by what their files tell.
import assert from 'node:assert/strict';
import { mkdtempSync, readdirSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, describe, test } from 'node:test';
import { makeInputs } from '../compare/comparing.mjs';
import { bundled, startEngine } from './nodeEngine.mjs';

const folder = mkdtempSync(join(tmpdir(), 'zarngi-roles-test-'));
let engine, initialRoles, noRoles;

before(async () => {
    makeInputs(folder);
    ({ initialRoles, noRoles } = await bundled());
    engine = await startEngine();
});
after(() => rmSync(folder, { recursive: true, force: true }));

const byName = /its name is the first one/;
const related = {
    VERIFIED_PLAN: ['second', /verifies its plan/],
    PREDECESSOR: ['second', /derived from it/],
    ALTERNATIVE: ['first', byName],
    ReferencedInstanceSequence: ['second', /the other dose was derived from it/],
    ReferencedDoseSequence: ['second', /the other dose was derived from it/],
    'each-other': ['first', byName],
    recorded: ['second', /record of its treatment/],
    'recorded-of-another': ['first', byName],
};

describe('of two doses whose names tell nothing', () => {
    for (const [name, [reference, reason]] of Object.entries(related)) {
        test(`${name}: the ${reference}, as a guess`, () => {
            const place = join(folder, 'related', name);
            const found = readdirSync(place).map((file) => engine.call({ call: 'identify', path: join(place, file) }));
            for (const files of [found, [...found].reverse()]) {
                const roles = initialRoles(noRoles(), files);
                assert.equal(roles.reference, join(place, `${reference}.dcm`));
                assert.notEqual(roles.evaluation, roles.reference);
                assert.match(roles.guess, reason);
            }
        });
    }
});
