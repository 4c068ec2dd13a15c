/**
 * @file structureSet.h
 * Structures as every host gets them, and what their file says about them.
 */
#ifndef ZARNGI_FILES_STRUCTURES_STRUCTURESET_H
#define ZARNGI_FILES_STRUCTURES_STRUCTURESET_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "files/doseImage.h"

namespace files
{

/** A closed planar contour as its file has it: the last vertex is joined to the first. */
struct Contour {
    std::vector<Vec3> vertices; ///< mm, in the patient's axes; three or more
};

/** A grid of labels, x fastest. */
struct LabelGrid {
    Geometry geometry;
    std::vector<std::int32_t> labels; ///< 0: nothing
};

/** The voxels of one label. */
struct LabelRegion {
    std::shared_ptr<const LabelGrid> grid; ///< shared by the structures of a file
    std::int32_t label = 1;
};

/** Contours that have no inside, so that they count for nothing. */
struct ContoursLeftOut {
    std::size_t points = 0; ///< POINT
    std::size_t open = 0;   ///< OPEN_PLANAR and OPEN_NONPLANAR
    std::size_t few = 0;    ///< closed ones with fewer than three vertices

    std::size_t count() const { return points + open + few; }
};

/** A part of the patient: contours, or voxels of a label mask. */
struct Structure {
    std::string name;                                  ///< the only one of that name in its set
    bool isNamedAfterFile = false;                     ///< since the file names no structure
    int number = 0;                                    ///< of the ROI, or the label
    std::optional<std::array<std::uint8_t, 3>> colour; ///< red, green, blue
    std::string type;             ///< RT ROI Interpreted Type; empty where it is not told
    std::string frameOfReference; ///< empty where it is not told
    std::vector<Contour> contours;
    ContoursLeftOut leftOut;
    std::optional<LabelRegion> region; ///< instead of contours
    /** Why its contours cannot be taken, a line that continues "NAME: "; else empty. */
    std::string refusal;
};

/** The structures of a file, in the order of the file. */
struct StructureSet {
    std::string path;     ///< empty where it was read from memory
    std::string dataPath; ///< of a mask's values: another file where the header stands alone
    std::string format;   ///< "DICOM RT Structure Set", "DICOM Segmentation", "NRRD" ...
    std::string label;    ///< of the set; empty where it is not told
    std::string sopInstance;
    std::string patientId;     ///< only to be compared; empty where it is not told
    bool canTellFrame = false; ///< whether files of this kind name the frame of their positions
    std::vector<Structure> structures;
    /** What was taken for granted, each a line that continues "FILE: ". */
    std::vector<std::string> warnings;
};

} // namespace files

#endif
