/**
 * @file space.h
 * The space that a NRRD file names: its directions, its units, and vectors in it.
 */
#ifndef ZARNGI_FILES_FORMATS_NRRD_SPACE_H
#define ZARNGI_FILES_FORMATS_NRRD_SPACE_H

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "files/formats/nrrd/header.h"
#include "files/orientation.h"

namespace files::nrrd
{

/** A vector in space, or nothing for "none". */
using Step = std::optional<Vec3>;

/** Three numbers between commas. @throws Refusal that says what they are */
Vec3 vectorOf(std::string item, const char* what, std::string_view entry);

/** The steps along the axes of a grid. @throws Refusal */
std::vector<Step> stepsOf(const std::string& entry);

/** How the coordinates of the file's space become those of the patient. */
struct Space {
    std::array<std::size_t, 3> axis = {0, 1, 2}; ///< of the patient, for each coordinate
    std::array<double, 3> factor = {1, 1, 1};    ///< its sign and its unit, mm
    bool isTold = false;

    Vec3 toPatient(const Vec3& vector) const
    {
        Vec3 result{};
        for (std::size_t i = 0; i < 3; ++i) {
            result[axis[i]] = vector[i] * factor[i];
        }
        return result;
    }
};

/** The space of a header; lengths in mm. @throws Refusal when it is none of a patient. */
Space spaceOf(const Header& header);

/** Millimetres of a unit of length; 1 where none is told. @throws Refusal for other units. */
double lengthUnit(const std::string& unit);

} // namespace files::nrrd

#endif
