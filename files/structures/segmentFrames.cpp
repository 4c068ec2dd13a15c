#include "files/structures/segmentFrames.h"

#include <algorithm>
#include <cmath>

#include "files/error.h"
#include "files/text.h"

namespace files
{

namespace
{

namespace tags
{
constexpr DicomTag sliceThickness{0x00180050, "Slice Thickness"};
constexpr DicomTag betweenSlices{0x00180088, "Spacing Between Slices"};
constexpr DicomTag position{0x00200032, "Image Position (Patient)"};
constexpr DicomTag orientation{0x00200037, "Image Orientation (Patient)"};
constexpr DicomTag planePosition{0x00209113, "Plane Position Sequence"};
constexpr DicomTag planeOrientation{0x00209116, "Plane Orientation Sequence"};
constexpr DicomTag pixelSpacing{0x00280030, "Pixel Spacing"};
constexpr DicomTag pixelMeasures{0x00289110, "Pixel Measures Sequence"};
constexpr DicomTag segmentIdentification{0x0062000A, "Segment Identification Sequence"};
constexpr DicomTag segmentNumber{0x0062000B, "Referenced Segment Number"};
constexpr DicomTag sharedGroups{0x52009229, "Shared Functional Groups Sequence"};
constexpr DicomTag frameGroups{0x52009230, "Per-frame Functional Groups Sequence"};
} // namespace tags

constexpr double sameGrid = 0.01; // mm, by which frames may be off their grid
constexpr double sameAxes = 1e-4; // of direction cosines

void readMeasures(const DicomValues& measures, SegmentFrame& frame)
{
    const auto told = [&measures](const DicomTag& tag) {
        return measures.has(tag) ? std::optional(measures.number(tag)) : std::nullopt;
    };
    if (measures.has(tags::pixelSpacing)) {
        const std::vector<double> spacing = measures.numbers(tags::pixelSpacing, 2);
        frame.spacing = {spacing[0], spacing[1]};
    }
    frame.thickness = told(tags::sliceThickness);
    frame.step = told(tags::betweenSlices);
}

void readGroups(const DicomValues& groups, SegmentFrame& frame)
{
    forEachDicomItem(groups, tags::segmentIdentification, [&frame](const DicomValues& item) {
        frame.segment = static_cast<std::int32_t>(item.integer(tags::segmentNumber));
    });
    forEachDicomItem(groups, tags::planePosition, [&frame](const DicomValues& item) {
        const std::vector<double> position = item.numbers(tags::position, 3);
        frame.position = {position[0], position[1], position[2]};
    });
    forEachDicomItem(groups, tags::planeOrientation, [&frame](const DicomValues& item) {
        const std::vector<double> cosines = item.numbers(tags::orientation, 6);
        frame.axes = {{{cosines[0], cosines[1], cosines[2]}, {cosines[3], cosines[4], cosines[5]}}};
    });
    forEachDicomItem(groups, tags::pixelMeasures,
                     [&frame](const DicomValues& item) { readMeasures(item, frame); });
}

void checkIsWhole(const SegmentFrame& frame, std::size_t index)
{
    const char* const missing = !frame.segment    ? "segment"
                                : !frame.position ? "position"
                                : !frame.axes     ? "orientation"
                                : !frame.spacing  ? "Pixel Spacing"
                                                  : nullptr;
    if (missing != nullptr) {
        refuseDamaged("has a frame that tells no " + std::string(missing) + " (frame " +
                      grouped(index + 1) + ")");
    }
}

double dot(const Vec3& a, const Vec3& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

bool areSame(const SegmentFrame& a, const SegmentFrame& b)
{
    const auto isNear = [](double x, double y) { return std::fabs(x - y) <= sameAxes; };
    for (std::size_t axis = 0; axis < 2; ++axis) {
        const Vec3& of = (*a.axes)[axis];
        if (!std::equal(of.begin(), of.end(), (*b.axes)[axis].begin(), isNear) ||
            !isNear((*a.spacing)[axis], (*b.spacing)[axis])) {
            return false;
        }
    }
    return true;
}

/** Along the normal from the first frame on. @throws Refusal when frames lie otherwise */
std::vector<double> heightsOf(const std::vector<SegmentFrame>& frames, const Vec3& normal)
{
    const SegmentFrame& first = frames.front();
    std::vector<double> heights;
    for (const SegmentFrame& frame : frames) {
        Vec3 away{};
        for (std::size_t i = 0; i < 3; ++i) {
            away[i] = (*frame.position)[i] - (*first.position)[i];
        }
        const bool isAbove = std::fabs(dot(away, (*first.axes)[0])) <= sameGrid &&
                             std::fabs(dot(away, (*first.axes)[1])) <= sameGrid;
        if (!isAbove || !areSame(frame, first)) {
            refuseUnsupported("has frames that do not lie straight above one another in one grid; "
                              "resample it first");
        }
        heights.push_back(dot(away, normal));
    }
    return heights;
}

/** Those that differ, in their order. */
std::vector<double> differentOf(std::vector<double> heights)
{
    std::sort(heights.begin(), heights.end());
    const auto isSame = [](double a, double b) { return b - a <= sameGrid; };
    heights.erase(std::unique(heights.begin(), heights.end(), isSame), heights.end());
    return heights;
}

bool isMultiple(double length, double step)
{
    return std::fabs(length - std::round(length / step) * step) <= sameGrid;
}

/** From plane to plane: frames of planes without a voxel may be left out. */
double stepOf(const std::vector<double>& heights, const SegmentFrame& frame, SegmentGrid& grid)
{
    double nearest = 0;
    for (std::size_t i = 1; i < heights.size(); ++i) {
        const double distance = heights[i] - heights[i - 1];
        nearest = nearest == 0 ? distance : std::min(nearest, distance);
    }
    const double told = frame.step ? std::fabs(*frame.step) : 0;
    const double thickness = frame.thickness.value_or(0);
    if (nearest == 0 && !(told > 0 || thickness > 0)) {
        refuseDamaged("has frames in one plane alone, and tells neither Spacing Between Slices nor "
                      "Slice Thickness");
    }
    if (nearest == 0) {
        return told > 0 ? told : thickness;
    }
    if (told > 0 && !isMultiple(nearest, told)) {
        refuseDamaged("tells a Spacing Between Slices of " + number(told) + " mm, but has frames " +
                      number(nearest) + " mm apart");
    }
    if (told <= 0 && thickness > 0 && nearest - thickness > sameGrid) {
        grid.warnings.push_back("tells a Slice Thickness of " + number(thickness) +
                                " mm, but has frames no nearer than " + number(nearest) +
                                " mm; they are taken to fill that");
    }
    return told > 0 ? told : nearest;
}

} // namespace

std::vector<SegmentFrame> segmentFrames(const DicomValues& values, std::size_t count)
{
    SegmentFrame shared;
    forEachDicomItem(values, tags::sharedGroups,
                     [&shared](const DicomValues& groups) { readGroups(groups, shared); });
    std::vector<SegmentFrame> frames;
    forEachDicomItem(values, tags::frameGroups, [&](const DicomValues& groups) {
        SegmentFrame frame = shared;
        readGroups(groups, frame);
        checkIsWhole(frame, frames.size());
        frames.push_back(frame);
    });
    if (frames.size() != count) {
        refuseDamaged("tells of " + grouped(frames.size()) + " frames, and has " + grouped(count));
    }
    return frames;
}

SegmentGrid segmentGrid(const std::vector<SegmentFrame>& frames, std::int64_t columns,
                        std::int64_t rows)
{
    constexpr double mostLeftOut = 1000; // planes without a frame
    const SegmentFrame& first = frames.front();
    const std::array<Vec3, 2>& axes = *first.axes;
    const Vec3 normal = cross(axes[0], axes[1]);
    const std::vector<double> all = heightsOf(frames, normal);
    const std::vector<double> heights = differentOf(all);
    SegmentGrid grid;
    const double step = stepOf(heights, first, grid);
    const double planes = std::round((heights.back() - heights.front()) / step) + 1;
    if (!(planes <= static_cast<double>(heights.size()) + mostLeftOut)) {
        refuseUnsupported("has frames " + number(heights.back() - heights.front()) +
                          " mm apart, with most planes between them left out");
    }
    for (const double height : all) {
        const double above = height - heights.front();
        if (!isMultiple(above, step)) {
            refuseUnsupported("has frames that are not evenly spaced (" + number(above) + " mm)");
        }
        grid.planes.push_back(static_cast<std::size_t>(std::llround(above / step)));
    }
    const auto lowest = std::min_element(all.begin(), all.end()) - all.begin();
    grid.geometry.size = {columns, rows, static_cast<std::int64_t>(planes)};
    grid.geometry.spacing = {(*first.spacing)[1], (*first.spacing)[0], step};
    grid.geometry.origin = *frames[static_cast<std::size_t>(lowest)].position;
    grid.geometry.axes = {axes[0], axes[1], normal};
    checkGeometry(grid.geometry);
    return grid;
}

} // namespace files
