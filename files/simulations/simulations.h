/**
 * @file simulations.h
 * The readers of what Monte Carlo programs write, one function a format.
 */
#ifndef ZARNGI_FILES_SIMULATIONS_SIMULATIONS_H
#define ZARNGI_FILES_SIMULATIONS_SIMULATIONS_H

#include <string_view>

#include "files/doseImage.h"
#include "files/fileFormat.h"
#include "files/host.h"

namespace files
{

/**
 * Whether a text begins like a .3ddose, which has no mark of its own: three whole numbers, then
 * three lists of boundaries, each of which rises (or falls, which the reader refuses).
 */
bool startsLikeThreeDdose(std::string_view beginning);

/** Whether a text begins like the table of a TOPAS scorer, or the head of a binary one. */
bool startsLikeTopas(std::string_view beginning);

/**
 * EGSnrc's .3ddose, packed by gzip or not: boundaries of the voxels (cm), doses, relative errors.
 * Numbers are read, never lines: some programs wrap them. @throws Refusal
 */
DoseImage readThreeDdose(ByteView file, const Host& host);

/**
 * A dose that a TOPAS scorer has written as text, or in binary beside the head that `file` is. Bins
 * are placed by their indices: the order of the lines depends on the version. @throws Refusal
 */
DoseImage readTopas(ByteView file, const FindFile& find, const Host& host);

/** Any of them, told by the format; what the file does not tell is told as a warning. @throws
 * Refusal */
DoseImage readSimulation(FileFormat format, ByteView file, const FindFile& find, const Host& host);

/**
 * Refuses a grid that a text of so many bytes cannot tell, before memory is taken for it: some
 * leave bins out or give numbers a count, so it may tell more voxels than it has bytes.
 */
void checkIsTold(std::size_t voxels, std::size_t bytes);

} // namespace files

#endif
