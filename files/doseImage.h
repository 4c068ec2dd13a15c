/**
 * @file doseImage.h
 * A dose distribution as every host gets it, and what its file says about itself.
 */
#ifndef ZARNGI_FILES_DOSEIMAGE_H
#define ZARNGI_FILES_DOSEIMAGE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "files/doseUnit.h"
#include "files/values.h"

namespace files
{

using Vec3 = std::array<double, 3>;

/** Of a grid: the engine numbers its voxels by 32 bits. */
constexpr std::int64_t mostVoxels = std::numeric_limits<std::int32_t>::max();

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
    /** mm, of the voxels with an index along an axis. */
    double centre(std::size_t axis, double index) const
    {
        return origin[axis] + index * spacing[axis];
    }
    /** mm, of one voxel. @param voxel among all, x fastest */
    Vec3 centreOf(std::size_t voxel) const
    {
        Vec3 place{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const auto count = static_cast<std::size_t>(size[axis]);
            place[axis] = centre(axis, static_cast<double>(voxel % count));
            voxel /= count;
        }
        return place;
    }
};

/** Values on a grid, x fastest. */
struct Image {
    Geometry geometry;
    Values values;
};

/** Where a plane lies in the patient. */
struct PlanePlace {
    Vec3 at{};    ///< mm, of the plane's point 0, 0
    Vec3 right{}; ///< unit vector along which the plane's x grows
    Vec3 up{};    ///< unit vector along which the plane's y grows
};

/** What sets planes, and doses that were measured at places, apart from volumes. */
struct Measurement {
    enum class Kind {
        grid,  ///< a grid of three dimensions, some places of which have no dose
        plane, ///< a grid of one layer, whose thickness means nothing to a comparison
        points ///< places that form no grid; the image is the list of their doses, size n x 1 x 1
    };

    Kind kind = Kind::plane;
    /** Positions are those of the patient; else x to the right, y up within a plane, z is 0. */
    bool isInSpace = false;
    /** Of Kind::plane: the axis across it. Its spacing there is planeThickness, or what a file
     * tells. */
    std::size_t normal = 2;
    std::vector<Vec3> points;              ///< mm, of Kind::points: one for each dose
    std::vector<unsigned char> isMeasured; ///< 1 or 0 for each place of a grid; empty: all are
    std::size_t gaps = 0;                  ///< places of the grid without a dose; they hold 0
    std::optional<PlanePlace> place;       ///< of a plane that is not in space, if its file tells
    double sourceDistance = 0; ///< mm from the source to the plane of a portal image; 0: not told
};

/** mm, of planes that tell none. A power of two: half of it, and so the middle at 0, is exact. */
constexpr double planeThickness = 0.0078125;

/** A plan that a DICOM file refers to. */
struct ReferencedPlan {
    std::string sopInstance;
    std::vector<std::int32_t> beams; ///< by their numbers; none: all of them
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
    std::vector<ReferencedPlan> plans; ///< that the dose was computed from
    std::vector<std::string> origins;  ///< UIDs of objects that it was derived from
};

/** A dose distribution read from a file. */
struct DoseImage {
    Image image;          ///< in `unit`
    std::string path;     ///< of its header; empty where it was read from memory
    std::string dataPath; ///< of the values: another file where the header stands alone
    std::string format;   ///< as formatName() gives it
    DoseUnit unit = DoseUnit::gray;
    /** Standard uncertainty of each dose, in `unit`; not a number where none is known, as where
     * there is no dose. Empty where the file tells none, or the host does not ask for it. Floats:
     * it is known to a few percent at best. */
    Values uncertainty;
    bool tellsPosition = true;    ///< else its first voxel, or its middle, is put at 0, 0, 0 mm
    bool tellsOrientation = true; ///< else the axes count as those of the patient
    bool tellsUnit = true;        ///< of dose; else the values count as Gy
    /** What was taken for granted, each a line that continues "FILE: ". */
    std::vector<std::string> warnings;
    /** What makes its values doubtful as doses, each a line that continues "FILE: "; readDose()
     * makes warnings of them, labels have none. */
    std::vector<std::string> doubts;
    std::optional<DicomIdentity> dicom;
    std::optional<Measurement> measurement; ///< none: a volume

    // Not inline: many sources would compile moves and ends of all that it holds.
    DoseImage();
    DoseImage(const DoseImage& other);
    DoseImage(DoseImage&& other) noexcept;
    DoseImage& operator=(const DoseImage& other);
    DoseImage& operator=(DoseImage&& other) noexcept;
    ~DoseImage();

    bool isPlane() const { return isOfKind(Measurement::Kind::plane); }
    bool isPoints() const { return isOfKind(Measurement::Kind::points); }
    /** Whether it holds differences between doses, as DICOM's Dose Type tells. */
    bool isError() const { return dicom && dicom->doseType == "ERROR"; }
    /** Whether there is an axis across a plane along which its file tells no thickness. */
    bool hasNoThickness() const
    {
        return isPlane() && image.geometry.spacing[measurement->normal] <= planeThickness;
    }
    /** Whether doses fill a volume: one without gaps in which structures can lie. */
    bool hasVolume() const { return !measurement; }

private:
    bool isOfKind(Measurement::Kind kind) const { return measurement && measurement->kind == kind; }
};

} // namespace files

#endif
