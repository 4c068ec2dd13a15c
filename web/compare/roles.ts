/** Which file is what in a comparison. */

import type { DoseFacts, FileFacts } from '../engine/messages';

export interface Roles {
    reference: string | null;
    evaluation: string | null;
    /** In the order they came. */
    structures: Set<string>;
}

export function noRoles(): Roles {
    return { reference: null, evaluation: null, structures: new Set() };
}

/** Roles of files that came together, beside those that are given already. */
export function initialRoles(known: Roles, found: FileFacts[]): Roles {
    const roles = { ...known, structures: new Set(known.structures) };
    found.filter((f) => f.kind === 'structures').forEach((f) => roles.structures.add(f.path));
    const masks = found.filter((f) => f.kind === 'mask').map((f) => f.path);
    let doses = pairOf(found);
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
    return roles;
}

/** Of many doses the two of whole plans, if there are just two; all otherwise. The reference first. */
function pairOf(found: FileFacts[]): string[] {
    const doses = found.filter((f) => f.kind === 'dose');
    const plans = doses.filter((f) => f.dicom?.summationType === 'PLAN');
    const paths = (doses.length > 2 && plans.length === 2 ? plans : doses).map((f) => f.path).sort();
    const [measured] = doses.filter((f) => f.kind === 'dose' && onlyReference(f));
    if (paths.length === 2 && measured) {
        return paths[0] === measured.path ? paths : paths.reverse();
    }
    const isReference = (path: string): boolean => /ref|plan/i.test(path.replace(/.*\//, ''));
    return paths.length === 2 && isReference(paths[1]) && !isReference(paths[0]) ? paths.reverse() : paths;
}

/** Between places with gaps, and between points, there is no dose to search. */
function onlyReference({ measurement }: DoseFacts): boolean {
    return measurement !== null && (measurement.kind === 'points' || measurement.measured < measurement.places);
}
