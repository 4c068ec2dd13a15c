#include "comparison/documents/structureElements.h"

#include <algorithm>
#include <cmath>

#include "comparison/documents/json.h"
#include "comparison/documents/reportVolume.h"

namespace zarngi
{

namespace
{

/** Differences of such numbers fit 32 bits. */
std::int32_t micrometres(double millimetres)
{
    constexpr double perMillimetre = 1000;
    constexpr double farthest = 1e9;
    return static_cast<std::int32_t>(
        std::lround(std::clamp(millimetres * perMillimetre, -farthest, farthest)));
}

} // namespace

std::vector<std::int32_t> storedRuns(const files::Runs& runs)
{
    std::vector<std::int32_t> numbers;
    numbers.reserve(4 * runs.size());
    for (const files::Run& run : runs) {
        numbers.insert(numbers.end(), {run.z, run.y, run.begin, run.end});
    }
    return numbers;
}

std::vector<std::int32_t> storedContours(const std::vector<files::Contour>& contours)
{
    std::vector<std::int32_t> numbers;
    for (const files::Contour& contour : contours) {
        double height = 0;
        for (const Vec3& vertex : contour.vertices) {
            height += vertex[2] / static_cast<double>(contour.vertices.size());
        }
        numbers.push_back(static_cast<std::int32_t>(contour.vertices.size()));
        numbers.push_back(micrometres(height));
        std::array<std::int32_t, 2> last{};
        for (const Vec3& vertex : contour.vertices) {
            for (std::size_t axis = 0; axis < 2; ++axis) {
                const std::int32_t place = micrometres(vertex[axis]);
                numbers.push_back(place - last[axis]);
                last[axis] = place;
            }
        }
    }
    return numbers;
}

void addStructureElements(std::vector<PageElement>& elements, Json& list,
                          const StructureComparison& structures, const PagePacking& packing)
{
    for (std::size_t i = 0; i < structures.rows.size(); ++i) {
        const StructureRow& row = structures.rows[i];
        const std::string name = "structure-" + std::to_string(i);
        list[i]["voxelsElement"] = name + "-voxels";
        list[i]["contoursElement"] = nullptr;
        elements.push_back({name + "-voxels", [&row, &packing] {
                                return encodedNumbers(storedRuns(row.voxels), packing);
                            }});
        if (!row.chosen.place) {
            continue;
        }
        const files::Structure& structure = structures.catalogue->structure(*row.chosen.place);
        if (!structure.contours.empty()) {
            list[i]["contoursElement"] = name + "-contours";
            elements.push_back({name + "-contours", [&structure, &packing] {
                                    return encodedNumbers(storedContours(structure.contours),
                                                          packing);
                                }});
        }
    }
}

} // namespace zarngi
