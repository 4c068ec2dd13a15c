// Answers each line of standard input, {path, units}, by one line: what the engine makes of the file,
// with the SHA-256 of its doses.
import { createHash } from 'node:crypto';
import { createInterface } from 'node:readline';
import { startEngine } from './nodeEngine.mjs';

const engine = await startEngine();

function answer({ path, units }) {
    const facts = engine.call({ call: 'identify', path, units });
    try {
        const { bytes } = engine.call({ call: 'values', path, units });
        facts.sha256 = createHash('sha256').update(Buffer.from(engine.output(bytes))).digest('hex');
    } catch (error) {
        facts.sentence = error.message.slice(`${path}: `.length); // as a dose, whatever else it is
    }
    engine.call({ call: 'forget', path });
    return facts;
}

for await (const line of createInterface({ input: process.stdin })) {
    process.stdout.write(JSON.stringify(answer(JSON.parse(line))) + '\n');
}
