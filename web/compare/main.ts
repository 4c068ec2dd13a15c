import EngineWorker from '../engine/worker?worker&inline';
import { EngineClient } from '../engine/client';
import { byId } from '../views/dom';
import { applyTheme } from '../views/theme';
import { setUpAbout } from './about';
import { Comparisons, type Current } from './comparisons';
import { CriteriaForm } from './criteriaForm';
import { FileSection, type Roles } from './fileSection';
import { ProgressLine } from './progressLine';
import { RatesCard } from './ratesCard';
import { Saving } from './saving';
import { missingFeature } from './support';
import './style.css'; // after that of the views, parts of which it hides

function start(): void {
    const client = new EngineClient(() => new EngineWorker());
    let roles: Roles | null = null;
    const ask = (): void => {
        const { reference, evaluation, structures } = roles ?? {};
        const isComplete = reference && evaluation && structures;
        comparisons.ask(isComplete ? { reference, evaluation, structures: [...structures], ...form.asked() } : null);
    };
    const form = new CriteriaForm(ask);
    const files = new FileSection(
        client,
        (changed) => {
            roles = changed;
            ask();
        },
        () => void rates.fill(),
    );
    const saving = new Saving(client);
    const rates = new RatesCard(
        client,
        () => !comparisons.isRunning() && !files.isReading(),
        (index, criterion) => form.replace(index, criterion),
    );
    const progress = new ProgressLine(() => comparisons.stop());
    const comparisons = new Comparisons(client, progress, {
        shown(current: Current | null): void {
            document.body.classList.toggle('has-comparison', current !== null);
            saving.show(current);
            rates.show(current);
        },
        problem(sentence: string | null): void {
            const isOfFile = files.tellProblem(sentence);
            form.markProblem(sentence);
            const place = byId('problem');
            place.hidden = sentence === null || isOfFile;
            place.textContent = isOfFile ? '' : sentence;
        },
        idle: () => void rates.fill(),
    });
    document.documentElement.dataset.state = 'start';
}

applyTheme();
setUpAbout();
const missing = missingFeature();
if (missing) {
    byId('start').hidden = true;
    document.querySelector<HTMLElement>('.asked')!.hidden = true;
    byId('unsupported').hidden = false;
    byId('unsupported').textContent = missing;
    document.documentElement.dataset.state = 'failed';
} else {
    start();
}
