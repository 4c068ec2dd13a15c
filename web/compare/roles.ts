/** Which file is what in a comparison. */

import type { DoseFacts, FileFacts } from '../engine/messages';

export interface Roles {
    reference: string | null;
    evaluation: string | null;
    /** In the order they came. */
    structures: Set<string>;
    /** Why one dose was taken for the reference, as long as nobody has confirmed it; null: it is told. */
    guess: string | null;
    plans: Set<string>;
}

export function noRoles(): Roles {
    return { reference: null, evaluation: null, structures: new Set(), guess: null, plans: new Set() };
}

/** Roles of files that came together, beside those that are given already. */
export function initialRoles(known: Roles, found: FileFacts[]): Roles {
    const roles = { ...known, structures: new Set(known.structures), plans: new Set(known.plans) };
    found.filter((f) => f.kind === 'structures').forEach((f) => roles.structures.add(f.path));
    plansOf(found).forEach((path) => roles.plans.add(path));
    const masks = found.filter((f) => f.kind === 'mask').map((f) => f.path);
    let { paths: doses, guess } = pairOf(found);
    const missing = (roles.reference ? 0 : 1) + (roles.evaluation ? 0 : 1);
    if (doses.length + masks.length === missing && doses.length < missing) {
        doses = [...doses, ...masks]; // without other doses these are meant
    } else {
        masks.forEach((path) => roles.structures.add(path));
    }
    if (doses.length > 2) {
        return roles;
    }
    for (const path of doses) {
        if (!roles.reference) {
            roles.reference = path;
        } else if (!roles.evaluation) {
            roles.evaluation = path;
        }
    }
    const isMeasured = found.some((f) => f.kind === 'dose' && f.path === roles.evaluation && onlyReference(f));
    if (missing === 1 && isMeasured) {
        [roles.reference, roles.evaluation] = [roles.evaluation, roles.reference];
    }
    roles.guess = missing === 2 && roles.reference && roles.evaluation ? guess : roles.guess;
    return roles;
}

/** Of several those that the doses refer to, if they refer to any; one that comes alone is meant. */
function plansOf(found: FileFacts[]): string[] {
    const told = new Set(found.flatMap((f) => (f.kind === 'dose' ? (f.dicom?.plans ?? []) : [])));
    const plans = found.flatMap((f) => (f.kind === 'plan' ? [f] : []));
    const meant = plans.filter((plan) => told.has(plan.sopInstance));
    return (meant.length > 0 ? meant : plans).map(({ path }) => path);
}

interface Pair {
    /** The reference first. */
    paths: string[];
    /** Null: only one of them can be the reference. */
    guess: string | null;
}

/** Of many doses the two of whole plans, if there are just two; all otherwise, in the order they came. */
function pairOf(found: FileFacts[]): Pair {
    const doses = found.filter((f) => f.kind === 'dose');
    const plans = doses.filter((f) => f.dicom?.summationType === 'PLAN');
    const paths = (doses.length > 2 && plans.length === 2 ? plans : doses).map((f) => f.path);
    const [measured] = doses.filter((f) => f.kind === 'dose' && onlyReference(f));
    if (paths.length === 2 && measured) {
        return { paths: paths[0] === measured.path ? paths : paths.reverse(), guess: null };
    }
    const first = paths.length === 2 ? firstByRelation(doses.filter((f) => paths.includes(f.path)), found) : null;
    if (first) {
        return { paths: [first.path, ...paths.filter((path) => path !== first.path)], guess: first.reason };
    }
    const isReference = (path: string): boolean => /ref|plan/i.test(path.replace(/.*\//, ''));
    const named = paths.filter(isReference);
    if (paths.length === 2 && named.length === 1) {
        return { paths: named[0] === paths[0] ? paths : paths.reverse(), guess: 'by the names of the files' };
    }
    // A folder has no order of its own: that of names is the same wherever it is dropped.
    const areOfFolder = paths.every((path) => path.includes('/'));
    return areOfFolder
        ? { paths: paths.sort(), guess: 'since its name is the first one' }
        : { paths, guess: 'since it came first' };
}

type Dose = FileFacts & { kind: 'dose' };

/** The one of two that the other one came after, as files alone tell it; null: neither, or each. */
function firstByRelation([a, b]: Dose[], found: FileFacts[]): { path: string; reason: string } | null {
    const [ofA, ofB] = [relation(b, a, found), relation(a, b, found)];
    if (Boolean(ofA) === Boolean(ofB)) {
        return null;
    }
    return ofA ? { path: a.path, reason: ofA } : { path: b.path, reason: ofB! };
}

/** Why a dose came after another one; null where no file says so. */
function relation({ dicom: later }: Dose, { dicom: earlier }: Dose, found: FileFacts[]): string | null {
    if (!later || !earlier) {
        return null;
    }
    if (later.origins.includes(earlier.sopInstance)) {
        return 'since the other dose was derived from it';
    }
    const own = found.flatMap((f) => (f.kind === 'plan' && later.plans.includes(f.sopInstance) ? f.origins : []));
    if (own.some((plan) => earlier.plans.includes(plan) && !later.plans.includes(plan))) {
        return 'since the plan of the other dose verifies its plan or was derived from it';
    }
    const isOfOnePlan = later.plans.some((plan) => earlier.plans.includes(plan));
    const isRecorded = later.summationType === 'RECORD' && earlier.summationType === 'PLAN';
    return isOfOnePlan && isRecorded ? 'since the other dose is of a record of its treatment' : null;
}

/** Between places with gaps, and between points, there is no dose to search. */
function onlyReference({ measurement }: DoseFacts): boolean {
    return measurement !== null && (measurement.kind === 'points' || measurement.measured < measurement.places);
}
