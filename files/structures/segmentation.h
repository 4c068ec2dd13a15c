/**
 * @file segmentation.h
 * DICOM Segmentations: voxels of segments, one bit each.
 */
#ifndef ZARNGI_FILES_STRUCTURES_SEGMENTATION_H
#define ZARNGI_FILES_STRUCTURES_SEGMENTATION_H

#include "files/formats/dicom/file.h"
#include "files/structures/structureSet.h"

namespace files
{

/** Whether a DICOM file, or the beginning of one, is one of bits, fractions or labels. */
bool isSegmentation(const DicomFile& file);

/**
 * Its segments as structures, like the labels of a mask; nothing of the patient is kept. Frames may
 * be left out where a segment has no voxel, and segments may overlap.
 * @throws Refusal for fractions and labels, frames in no grid, and where elements are damaged.
 */
StructureSet readSegmentation(const DicomFile& file);

} // namespace files

#endif
