/**
 * @file doseImage.h
 * A dose distribution as every host gets it, and what its file says about itself.
 */
#ifndef ZARNGI_FILES_DOSEIMAGE_H
#define ZARNGI_FILES_DOSEIMAGE_H

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace files
{

using Vec3 = std::array<double, 3>;

/** A grid whose axes are those of the patient: x to the left, y to the back, z to the head. */
struct Geometry {
    std::array<int, 3> size; ///< voxels per axis
    Vec3 spacing;            ///< mm
    Vec3 origin;             ///< mm, centre of voxel (0, 0, 0)

    std::size_t voxels() const
    {
        return static_cast<std::size_t>(size[0]) * static_cast<std::size_t>(size[1]) *
               static_cast<std::size_t>(size[2]);
    }
};

/** Values on a grid, x fastest. */
struct Image {
    Geometry geometry;
    std::vector<float> values;
};

/** What a DICOM file says about itself; a text is empty where the file does not say it. */
struct DicomIdentity {
    std::string modality;
    std::string summationType;
    std::string doseType;
    std::string planLabel;
    std::string seriesDescription;
    std::string doseComment;
    std::string manufacturer;
    std::string frameOfReference;
    std::string sopInstance;
    std::string patientName;
    std::string patientId;
    std::string patientBirthDate;
};

/** A dose distribution read from a file. */
struct DoseImage {
    Image image;                  ///< Gy, unless isRelative
    std::string path;             ///< of its header; empty where it was read from memory
    std::string dataPath;         ///< of the values: another file where the header stands alone
    std::string format;           ///< "NRRD", "MetaImage", "NIfTI" or "DICOM RT Dose"
    bool isRelative = false;      ///< a DICOM dose relative to a value the file does not tell
    bool tellsPosition = true;    ///< else the first voxel counts as lying at 0, 0, 0 mm
    bool tellsOrientation = true; ///< else the axes count as those of the patient
    /** What was taken for granted, each a line that continues "FILE: ". */
    std::vector<std::string> warnings;
    std::optional<DicomIdentity> dicom;
};

} // namespace files

#endif
