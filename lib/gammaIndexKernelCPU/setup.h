/**
 * @file setup.h
 * The preparation of a computation: criteria, doses, and the list of voxels under test.
 */
#ifndef ZARNGI_SETUP_H
#define ZARNGI_SETUP_H

#include <cstddef>
#include <vector>

namespace zarngi::engine
{

/** The doses that decide which voxels are tested. */
struct DoseLevels {
    float maxDose;             ///< Gy, largest reference dose; of the planes that are tested alone
                               ///< where that is not the normalisation dose
    float globalReferenceDose; ///< Gy, normalisation dose
    float cutoff;              ///< Gy, voxels strictly above it are tested
    std::size_t countActiveVoxel;
    std::vector<float> largestOfBlocks; ///< Gy, of what is to be tested, block by block
};

/** Copies DD, DTA, DCO and the kind of dose difference from the environment. */
void takeOverCriteria();

/** Seeds the C library's random generator from the time and discards 100 draws. */
void seedRandomGenerator();

/** Rebuilds ptsSob_vox: the voxel centre. */
void buildReferenceSampleOffsets();

/** Gy, the largest evaluation dose: for the report only. */
float largestEvaluationDose();

/** Finds the reference maximum, the normalisation dose, the cut-off and the number of voxels above
 * it. */
DoseLevels findDoseLevels();

/** Sets DDvalue from the normalisation dose. */
void setGlobalDoseDifference(const DoseLevels& levels);

/**
 * Fills activeVoxels, in increasing ivxl. In pass-rate mode it marks as passed the voxels whose
 * evaluation dose at the centre agrees.
 * @return the number of voxels marked so.
 */
std::size_t fillActiveVoxels(const DoseLevels& levels);

/** Empties activeVoxels and gives its memory back. */
void releaseActiveVoxels();

} // namespace zarngi::engine

#endif
