/**
 * @file tables.h
 * The readers of texts and images that hold measured doses, or planned ones in a plane.
 */
#ifndef ZARNGI_FILES_MEASUREMENTS_TABLES_H
#define ZARNGI_FILES_MEASUREMENTS_TABLES_H

#include "files/doseImage.h"
#include "files/fileFormat.h"
#include "files/host.h"

namespace files
{

/**
 * A detector array, cylinder or plane: the section "Dose Counts", in cGy, of the sections that each
 * begin with a head and end with the lines of their columns. Bit 0 of the section "Data Flags"
 * names detectors, some of which may read 0; other bits exclude none. Where the file tells
 * corrected counts and the dose of one, the doses must be their products.
 * @throws Refusal
 */
DoseImage readDetectorArray(ByteView file);

/**
 * Scans in Gy along the rows, columns and diagonals of a PTW array ("CC-Export"): chambers by their
 * numbers, each told once or several times alike. Refuses scans of a water tank by name.
 * @throws Refusal
 */
DoseImage readPtwArray(ByteView file);

/**
 * A plane of the IBA form in text: a dose is number * Data Factor * Data Unit. Coordinates may be
 * rounded. Zeros of a StarTrack and the corners of a MatriXX are no detectors. Refuses by name
 * counts, relative doses, several planes and other planes than XY.
 * @throws Refusal
 */
DoseImage readIbaPlane(ByteView file, const TableUnits& units);

/** A plane of absolute doses by XiO or Monaco: a head of named lines, then rows. @throws Refusal */
DoseImage readQaPlane(ByteView file);

/** A plane that was extracted from a plan: head lines "*Key:", a matrix behind "*Y\X". @throws
 * Refusal */
DoseImage readExtractedPlane(ByteView file);

/**
 * A matrix with coordinates along its top and left edges, where an empty cell is no detector; one
 * without them, of which the pixel size is given; or columns x, y[, z], dose. Cells are set apart
 * by tabs, semicolons, commas or blanks.
 * @throws Refusal
 */
DoseImage readPlainTable(ByteView file, const TableUnits& units);

/**
 * A TIFF of one channel: 32-bit floats, or 16-bit whole numbers without sign. Unit and pixel size
 * must be given; a resolution that differs from it is told, other kinds are refused by name.
 * @throws Refusal
 */
DoseImage readTiffPlane(ByteView file, const Host& host);

/** Any of them, told by the format. @throws Refusal */
DoseImage readTable(FileFormat format, ByteView file, const Host& host);

} // namespace files

#endif
