// Workers that search parts for another one: who gets which part, and what becomes of it.
import assert from 'node:assert/strict';
import { before, test } from 'node:test';
import { bundled } from './nodeEngine.mjs';

let Helpers, usefulHelpers;

before(async () => {
    ({ Helpers, usefulHelpers } = await bundled());
});

/** Workers that answer when they are told to. */
function stage(limit) {
    const workers = [];
    const start = () => {
        const worker = {
            parts: [],
            isEnded: false,
            postMessage: ({ call }) => worker.parts.push(call.part),
            terminate: () => (worker.isEnded = true),
            find: () => worker.onmessage({ data: { id: 0, answer: {}, output: new ArrayBuffer(worker.parts.at(-1)) } }),
            refuse: () => worker.onmessage({ data: { id: 0, failure: { error: 'not enough memory' } } }),
        };
        workers.push(worker);
        return worker;
    };
    const helpers = new Helpers(start, limit);
    const found = new Map();
    const search = (part) => helpers.search(
        { part, reference: new ArrayBuffer(1), evaluation: new ArrayBuffer(1) },
        (output) => found.set(part, output?.byteLength ?? null),
    );
    return { workers, helpers, found, search };
}

test('no more than so many begin, and who is free takes the next part', () => {
    const { workers, found, search } = stage(2);
    search(1);
    assert.equal(workers.length, 1);
    [2, 3, 4].forEach(search);
    assert.deepEqual(workers.map(({ parts }) => parts), [[1], [2]]);
    workers[1].find();
    assert.deepEqual(workers.map(({ parts }) => parts), [[1], [2, 3]]);
    workers[1].find();
    workers[0].find();
    workers[1].find();
    assert.deepEqual(workers.map(({ parts }) => parts), [[1], [2, 3, 4]]);
    assert.deepEqual([...found], [[2, 2], [3, 3], [1, 1], [4, 4]]);
});

test('a part that a helper cannot search is given back, the others go on', () => {
    for (const fail of [(worker) => worker.refuse(), (worker) => worker.onerror()]) {
        const { workers, found, search } = stage(2);
        [1, 2, 3].forEach(search);
        fail(workers[0]);
        assert.deepEqual([...found], [[1, null]]);
        assert.ok(workers[0].isEnded);
        workers[1].find();
        workers[1].find();
        assert.deepEqual([...found], [[1, null], [2, 2], [3, 3]]);
        assert.equal(workers.length, 2);
    }
});

test('where no helper is left, all is given back, also what comes later', () => {
    const { workers, found, search } = stage(2);
    [1, 2, 3, 4].forEach(search);
    workers[0].onerror();
    workers[1].refuse();
    search(5);
    assert.deepEqual([...found.keys()].sort(), [1, 2, 3, 4, 5]);
    assert.ok([...found.values()].every((output) => output === null));
    assert.ok(workers.every(({ isEnded }) => isEnded));
});

test('what was under way when all were ended is told to nobody, and others may begin', () => {
    const { workers, helpers, found, search } = stage(1);
    [1, 2].forEach(search);
    helpers.close();
    assert.ok(workers[0].isEnded);
    search(3);
    workers[1].find();
    assert.deepEqual([...found], [[3, 3]]);
});

test('a computer with one processor has none', () => {
    const counts = [undefined, 1, 2, 3, 64].map((hardwareConcurrency) => {
        Object.defineProperty(globalThis, 'navigator', { value: { hardwareConcurrency }, configurable: true });
        return usefulHelpers();
    });
    assert.deepEqual(counts, [0, 0, 2, 3, 4]);
});
