/**
 * @file labelMask.h
 * Label masks: grids of whole numbers, of which each but 0 is a structure.
 */
#ifndef ZARNGI_FILES_STRUCTURES_LABELMASK_H
#define ZARNGI_FILES_STRUCTURES_LABELMASK_H

#include <memory>
#include <span>
#include <string>

#include "files/fileFormat.h"
#include "files/host.h"
#include "files/structures/structureSet.h"

namespace files
{

/**
 * Reads a mask in NRRD, MetaImage or NIfTI. A NRRD may have several layers (an axis of the kind
 * "list") and tell of segments by keys: `Segment0_Name`, `Segment0_ID`, `Segment0_LabelValue` (1),
 * `Segment0_Layer` (the segment's number), `Segment0_Color` (red, green, blue from 0 to 1).
 * @param name of the file: a mask without segments whose one label is 1 or 255 is named after it.
 * @throws Refusal; also for values that are no whole numbers from 0 to 16 777 215.
 */
StructureSet readLabelMask(FileFormat format, ByteView file, const std::string& name,
                           const FindFile& find, const Host& host);

/**
 * The labels of a grid of values.
 * @throws Refusal for values that are no whole numbers from 0 to 16 777 215.
 */
std::shared_ptr<const LabelGrid> labelGridOf(const Geometry& geometry,
                                             std::span<const float> values);

/** The name of a file without its folder and the endings of its format. */
std::string structureNameOf(const std::string& file);

} // namespace files

#endif
