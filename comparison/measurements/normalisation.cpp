#include "comparison/measurements/normalisation.h"

#include <cmath>

#include "comparison/doseSampling.h"
#include "comparison/failure.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

Vec3 placeOf(const DoseImage& dose, std::size_t index)
{
    if (dose.isPoints()) {
        return dose.measurement->points[index];
    }
    return dose.image.geometry.centreOf(index);
}

std::optional<double> nearestDose(const DoseImage& dose, const Vec3& at)
{
    constexpr double farthest = 1; // mm
    const std::vector<unsigned char>& measured = dose.measurement->isMeasured;
    std::optional<double> found;
    double nearest = farthest * farthest;
    for (std::size_t i = 0; i < dose.image.values.size(); ++i) {
        double squared = 0;
        const Vec3 place = placeOf(dose, i);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            squared += (place[axis] - at[axis]) * (place[axis] - at[axis]);
        }
        if ((measured.empty() || measured[i] != 0) && squared <= nearest) {
            nearest = squared;
            found = static_cast<double>(dose.image.values[i]);
        }
    }
    return found;
}

std::optional<double> doseNear(const DoseImage& dose, const Vec3& at)
{
    if (dose.measurement && (dose.isPoints() || dose.measurement->gaps > 0)) {
        return nearestDose(dose, at);
    }
    const Geometry& grid = dose.image.geometry;
    const AxisPlace x = zarngi::placeOf(grid, 0, at[0]);
    const AxisPlace y = zarngi::placeOf(grid, 1, at[1]);
    const AxisPlace z = zarngi::placeOf(grid, 2, at[2]);
    if (!x.isInside || !y.isInside || !z.isInside) {
        return {};
    }
    return doseAt(viewOf(dose.image), x, y, z);
}

double doseAtPosition(const std::vector<double>& at, const DoseImage& reference, SearchSpace space)
{
    const std::size_t needed = isInPlane(space) ? 2 : 3;
    if (at.size() != needed) {
        throw refusalOf({Member::normalisationAt}, needed == 2 ? "in a plane, positions are X,Y"
                                                               : "in space, positions are X,Y,Z");
    }
    const Vec3 place{at[0], at[1], needed == 2 ? 0 : at[2]};
    const std::optional<double> dose = doseNear(reference, place);
    if (!dose || !(*dose > 0)) {
        throw failureOf(reference.path, "has no dose at " + join(at, ", ") + " mm, which " +
                                            Member::normalisationAt + " asks for");
    }
    return *dose;
}

} // namespace

std::vector<double> parsePosition(const MemberPlace& place, const std::string& text)
{
    std::vector<double> position;
    for (const std::string& part : split(text, ',')) {
        position.push_back(parseNumber(part));
        if (!std::isfinite(position.back())) {
            position.clear();
            break;
        }
    }
    if (position.size() != 2 && position.size() != 3) {
        throw refusalOf(place,
                        Sentence("\"") + oneLine(text) + "\" is no position like 0,-3.5,10 (mm)");
    }
    return position;
}

std::optional<double> normalisationDose(const NormalisationRequest& request,
                                        const DoseImage& reference, const DoseExtremes& evaluation,
                                        SearchSpace space)
{
    if (request.isEvaluation) {
        if (!(evaluation.maximum > 0)) {
            throw InputError(Sentence(Member::normalisation) +
                             " evaluation: the evaluation has no dose above 0");
        }
        return evaluation.maximum;
    }
    return request.at.empty() ? request.dose
                              : std::optional(doseAtPosition(request.at, reference, space));
}

} // namespace zarngi
