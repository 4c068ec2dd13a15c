#include "files/formats/nrrd/geometry.h"

#include <cmath>

#include "files/error.h"
#include "files/formats/nrrd/space.h"
#include "files/text.h"

namespace files::nrrd
{

namespace
{

/** Grids in a space: steps and an origin. */
class GridInSpace
{
public:
    GridInSpace(const Header& header, const Axes& axes) : header_(header), axes_(axes) {}

    StoredGeometry geometry(DoseImage& dose)
    {
        const std::string& entry = header_.need("space directions");
        const std::vector<Step> steps = stepsOf(entry);
        if (steps.size() != axes_.sizes.size()) {
            refuseEntry("space directions", entry);
        }
        if (header_.find("spacings") != nullptr) {
            refuseDamaged("its header tells two voxel sizes (spacings and space directions)");
        }
        const auto picked =
            pickAxes(axes_, [&steps](std::size_t i) { return steps[i].has_value(); });
        const Space space = spaceInMillimetres(picked);
        StoredGeometry stored;
        std::array<Vec3, 3> inPatient{};
        for (std::size_t i = 0; i < 3; ++i) {
            stored.size[i] = axes_.sizes[picked[i]];
            inPatient[i] = space.toPatient(*steps[picked[i]]);
        }
        setSteps(stored, inPatient);
        dose.tellsOrientation = space.isTold;
        const std::string* const origin = header_.find("space origin");
        dose.tellsPosition = origin != nullptr;
        if (origin != nullptr) {
            stored.origin = space.toPatient(originOf(*origin));
        }
        return stored;
    }

private:
    static Vec3 originOf(const std::string& entry)
    {
        const std::vector<std::string> items = itemsOf(entry, '(', ')');
        if (items.size() != 1) {
            refuseEntry("an origin", entry);
        }
        return vectorOf(items[0], "an origin", entry);
    }

    Space spaceInMillimetres(const std::array<std::size_t, 3>& picked) const
    {
        Space space = spaceOf(header_);
        if (const std::string* const entry = header_.find("space units")) {
            const std::vector<std::string> units = itemsOf(*entry, '"', '"');
            if (units.size() != 3) {
                refuseEntry("space units", *entry);
            }
            for (std::size_t i = 0; i < 3; ++i) {
                space.factor[i] *= lengthUnit(units[i]);
            }
        } else if (!axes_.units.empty()) {
            const double unit = commonUnit(picked);
            for (double& factor : space.factor) {
                factor *= unit;
            }
        }
        return space;
    }

    /** Units of axes hold for the coordinates only where they are the same. */
    double commonUnit(const std::array<std::size_t, 3>& picked) const
    {
        const double unit = lengthUnit(axes_.units[picked[0]]);
        for (const std::size_t axis : picked) {
            if (lengthUnit(axes_.units[axis]) != unit) {
                refuseUnsupported("its header gives several units of length and no space units");
            }
        }
        return unit;
    }

    const Header& header_;
    const Axes& axes_;
};

/** Grids without directions: spacings, and perhaps the lower ends of the axes. */
class GridOfSpacings
{
public:
    GridOfSpacings(const Header& header, const Axes& axes) : header_(header), axes_(axes) {}

    StoredGeometry geometry(DoseImage& dose)
    {
        const std::string* const entry = header_.find("spacings");
        if (entry == nullptr) {
            refuseUnsupported("its header tells no voxel size");
        }
        const std::vector<double> spacings = axisNumbers(*entry, "a voxel size");
        const auto picked =
            pickAxes(axes_, [&](std::size_t i) { return std::isfinite(spacings[i]); });
        StoredGeometry stored;
        stored.axes = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
        for (std::size_t i = 0; i < 3; ++i) {
            stored.size[i] = axes_.sizes[picked[i]];
            stored.spacing[i] = spacings[picked[i]] * unitOf(picked[i]);
        }
        dose.tellsOrientation = false;
        dose.tellsPosition = setOrigin(stored, picked, dose);
        return stored;
    }

private:
    bool setOrigin(StoredGeometry& stored, const std::array<std::size_t, 3>& picked,
                   DoseImage& dose)
    {
        if (header_.find("space") != nullptr || header_.find("space origin") != nullptr) {
            refuseUnsupported("its header gives a space but no space directions");
        }
        const std::string* const entry = header_.findAny({"axis mins", "axismins"});
        if (entry == nullptr) {
            return false;
        }
        const std::vector<double> mins = axisNumbers(*entry, "axis mins");
        for (std::size_t i = 0; i < 3; ++i) {
            if (!std::isfinite(mins[picked[i]])) {
                refuseEntry("axis mins", *entry);
            }
            const double half = isAtCentre(picked[i], dose) ? 0 : stored.spacing[i] / 2;
            stored.origin[i] = mins[picked[i]] * unitOf(picked[i]) + half;
        }
        return true;
    }

    /** Whether the lower end of an axis is the centre of its first voxel, or its face. */
    bool isAtCentre(std::size_t axis, DoseImage& dose) const
    {
        const std::string* const entry = header_.findAny({"centerings", "centers"});
        const std::vector<std::string> items =
            entry == nullptr ? std::vector<std::string>(axes_.sizes.size(), "???")
                             : itemsOf(*entry, '"', '"');
        const std::string name = axis < items.size() ? lowerCase(items[axis]) : "";
        if (name == "node" || name == "cell") {
            return name == "node";
        }
        if (entry != nullptr && name != "???" && name != "none") {
            refuseEntry("centerings", *entry);
        }
        const std::string note = "tells no centerings; its axis mins count as faces of voxels";
        if (dose.warnings.empty() || dose.warnings.back() != note) {
            dose.warnings.push_back(note);
        }
        return false;
    }

    double unitOf(std::size_t axis) const
    {
        return axes_.units.empty() ? 1 : lengthUnit(axes_.units[axis]);
    }

    /** A number for each axis; not-a-number where the axis is none of space. */
    std::vector<double> axisNumbers(const std::string& entry, const char* what) const
    {
        const std::vector<std::string> words = itemsOf(entry, '"', '"');
        if (words.size() != axes_.sizes.size()) {
            refuseEntry(what, entry);
        }
        std::vector<double> numbers;
        for (std::size_t i = 0; i < words.size(); ++i) {
            const bool isNone = lowerCase(words[i]) == "nan" && axes_.mayBeNone(i);
            numbers.push_back(isNone ? NAN : numbersOf(words[i], what, 1)[0]);
        }
        return numbers;
    }

    const Header& header_;
    const Axes& axes_;
};

} // namespace

StoredGeometry geometryOf(const Header& header, const Axes& axes, DoseImage& dose)
{
    return header.find("space directions") != nullptr ? GridInSpace(header, axes).geometry(dose)
                                                      : GridOfSpacings(header, axes).geometry(dose);
}

} // namespace files::nrrd
