import EngineWorker from '../engine/worker?worker&inline';
import { EngineClient } from '../engine/client';
import { byId } from '../views/dom';
import { applyTheme } from '../views/theme';
import { setUpAbout } from './about';
import { Comparisons, type Current } from './comparisons';
import type { EngineError } from '../engine/messages';
import { withFiles } from '../engine/request';
import { CriteriaForm } from './criteriaForm';
import { FileSection, type Roles } from './fileSection';
import { KeptSettings } from './keptSettings';
import { commandOf, sentenceOf } from './members';
import { ProgressLine } from './progressLine';
import { RatesCard } from './ratesCard';
import { RequestFiles } from './requestFiles';
import { Saving } from './saving';
import { setUpSelfTest } from './selfTest';
import { missingFeature } from './support';
import './style.css'; // after that of the views, parts of which it hides

/** Whether the doses are others than before, in whatever order. */
function areOthers(now: Roles, before: Roles | null): boolean {
    const doses = (roles: Roles | null): string => [roles?.reference, roles?.evaluation].map(String).sort().join('\n');
    return before !== null && before.reference !== null && before.evaluation !== null && doses(now) !== doses(before);
}

function start(): void {
    const client = new EngineClient(() => new EngineWorker(), commandOf);
    const kept = new KeptSettings();
    const anonymous = byId<HTMLInputElement>('anonymous');
    let roles: Roles | null = null;
    const ask = (): void => {
        const { reference, evaluation, structures, plans, guess } = roles ?? {};
        const isComplete = reference && evaluation && structures && plans;
        const asked = form.asked();
        kept.keep(asked);
        const request = isComplete ? withFiles(asked, reference, evaluation, [...structures], [...plans]) : null;
        const told = { referenceGuessed: typeof guess === 'string', anonymous: anonymous.checked };
        comparisons.ask(request && { ...request, ...told });
    };
    kept.restore(() => kept.keep(form.asked()));
    const form = new CriteriaForm(ask, () => files.readAgain());
    const requests = new RequestFiles(client, form);
    const files = new FileSection(client, {
        changed(changed: Roles): void {
            if (areOthers(changed, roles)) {
                form.forgetPatient();
            }
            roles = { ...changed };
            ask();
        },
        idle: () => void rates.fill(),
        request: (file: File) => requests.load(file),
        units: () => form.asked().units,
        uncertainty: (field, path) => form.give(field, path),
        replaced(): void {
            if (form.forgetDoses()) {
                requests.tellForgotten();
            }
        },
        startOver(): void {
            form.reset();
            anonymous.checked = false;
            requests.startOver();
        },
    });
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
        stale(isStale: boolean): void {
            document.documentElement.classList.toggle('stale', isStale);
            byId('again').hidden = !isStale;
            saving.allow(!isStale);
        },
        problem(failure: EngineError | null): void {
            const isOfFile = files.tellProblem(failure);
            form.markProblem(failure);
            const place = byId('problem');
            place.hidden = failure === null || isOfFile;
            place.textContent = failure === null || isOfFile ? '' : sentenceOf(failure);
        },
        idle: () => void rates.fill(),
    });
    anonymous.addEventListener('change', ask);
    byId('compute-again').addEventListener('click', () => comparisons.again());
    setUpSelfTest(() => new EngineClient(() => new EngineWorker(), commandOf));
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
