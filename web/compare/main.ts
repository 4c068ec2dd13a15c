import EngineWorker from '../engine/worker?worker&inline';
import { EngineClient } from '../engine/client';
import { EngineData } from '../engine/engineData';
import type { ExamplePart } from '../engine/messages';
import { showComparison, showFailure } from '../views/page';

async function start(): Promise<void> {
    const client = new EngineClient(() => new EngineWorker());
    const parts: ExamplePart[] = ['reference', 'evaluation', 'structures'];
    const files = await Promise.all(parts.map((part) => client.example(part)));
    await Promise.all(files.map((file) => client.setFile(file.name, file)));
    const [reference, evaluation, structures] = files.map((file) => file.name);
    const request = { reference, evaluation, structures: [structures], criteria: ['3%/2mm', '2%/1mm'] };
    const { record } = await client.compare(request);
    await showComparison(new EngineData(record, request, client));
}

start().catch(showFailure);
