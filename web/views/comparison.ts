/** How the views get what they show. A page hands them one of these, wherever it has its data from. */

import type { GammaMap } from './gammaMap';
import type { ComparisonRecord, Role } from './record';

/** Whole numbers times a power of ten, one for each voxel of a grid, x fastest. */
export interface StoredVolume {
    /** value = stored · 10^(−decimals); may be negative. */
    readonly decimals: number;
    readonly values: Int16Array;
}

/** Stored dose that stands for a value that is not finite. */
export const notFinite = -32768;
/** Stored gamma of a voxel that was not tested. */
export const notTested = -1;
/** Stored gamma at and above which only "at least" is known. */
export const gammaOverflow = 32767;

/** Where a structure lies. */
export interface StructureShape {
    /** Voxels of the reference grid in fours: z, y, first x, behind the last x; by z, y, x. */
    readonly runs: Int32Array;
    /**
     * Its contours, one after another: number of vertices, height z, then x and y of each vertex, the
     * first as it is, the others less those of the one before; in thousandths of a millimetre. Null
     * where it has none.
     */
    readonly contours: Int32Array | null;
}

/**
 * A comparison. The views read the record at once, ask for the doses and the first gamma map next
 * and for the others when those are shown, for each volume once; none has to be there before.
 * A promise that is rejected ends the page with the reason.
 */
export interface ComparisonData {
    readonly record: ComparisonRecord;
    /** On the grid of its own; both doses have the same decimals, so that their difference is exact. */
    dose(role: Role): Promise<StoredVolume>;
    /**
     * Gamma of a criterion, by its index in the record, on the reference grid. A failed voxel stores
     * more than 10^decimals, a passed one does not: the verdict decides where rounding would not tell.
     */
    gamma(criterion: number): Promise<GammaMap>;
    /**
     * Gamma of the evaluation after the change that the explanation of the record tells, stored as
     * gamma() has it.
     */
    gammaAfter?(): Promise<GammaMap>;
    /**
     * Differences between the doses in units of their combined uncertainty, on the reference grid;
     * notFinite where none is known. There if the record tells the noise.
     */
    inUncertainties?(): Promise<StoredVolume>;
    /** Of a structure, by its index in the record; asked for once each if the record has structures. */
    structure?(index: number): Promise<StructureShape>;
}
