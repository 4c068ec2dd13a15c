#include "comparison/measurements/doseSum.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "comparison/failure.h"
#include "comparison/request/typedNumber.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

constexpr double samePlace = 0.01; // mm, as that of evenly spaced frames

bool areClose(const Vec3& a, const Vec3& b, double tolerance)
{
    return std::equal(a.begin(), a.end(), b.begin(),
                      [tolerance](double x, double y) { return std::fabs(x - y) <= tolerance; });
}

/** Whether no voxel of the two lies farther apart than `samePlace`. */
bool areOneGrid(const Geometry& a, const Geometry& b)
{
    if (a.size != b.size || !areClose(a.origin, b.origin, samePlace)) {
        return false;
    }
    Vec3 endOfA{};
    Vec3 endOfB{};
    for (std::size_t i = 0; i < 3; ++i) {
        endOfA[i] = a.origin[i] + a.spacing[i] * (a.size[i] - 1);
        endOfB[i] = b.origin[i] + b.spacing[i] * (b.size[i] - 1);
    }
    return areClose(endOfA, endOfB, samePlace);
}

void checkAddend(const DoseImage& dose, const DoseImage& addend)
{
    if (!lieAlike(dose, addend)) {
        throw failureOf(addend.path, "lies on another grid than " + Sentence(FileName{dose.path}) +
                                         ", so the doses cannot be added");
    }
    if (dose.unit != addend.unit) {
        throw failureOf(addend.path,
                        "holds doses in another unit than " + Sentence(FileName{dose.path}));
    }
    if (dose.dicom && addend.dicom &&
        dose.dicom->frameOfReference != addend.dicom->frameOfReference) {
        throw failureOf(addend.path,
                        "lies in another Frame of Reference than " + Sentence(FileName{dose.path}));
    }
}

void addGaps(DoseImage& dose, const DoseImage& addend)
{
    if (!addend.measurement || addend.measurement->isMeasured.empty()) {
        return;
    }
    files::Measurement& measurement = *dose.measurement;
    measurement.isMeasured.resize(dose.image.values.size(), measurement.isMeasured.empty() ? 1 : 0);
    for (std::size_t i = 0; i < measurement.isMeasured.size(); ++i) {
        measurement.isMeasured[i] &= addend.measurement->isMeasured[i];
    }
    measurement.gaps = static_cast<std::size_t>(
        std::count(measurement.isMeasured.begin(), measurement.isMeasured.end(), 0));
}

} // namespace

bool lieAlike(const DoseImage& a, const DoseImage& b)
{
    if (a.measurement.has_value() != b.measurement.has_value() ||
        !areOneGrid(a.image.geometry, b.image.geometry)) {
        return false;
    }
    if (!a.measurement) {
        return true;
    }
    const files::Measurement& one = *a.measurement;
    const files::Measurement& other = *b.measurement;
    return one.kind == other.kind && one.isInSpace == other.isInSpace &&
           std::equal(one.points.begin(), one.points.end(), other.points.begin(),
                      other.points.end(),
                      [](const Vec3& p, const Vec3& q) { return areClose(p, q, samePlace); });
}

DoseFactor parseFactor(const MemberPlace& place, const std::string& text)
{
    const std::size_t slash = std::min(text.find('/'), text.size());
    const double numerator = parseTyped(text.substr(0, slash));
    const double denominator = slash < text.size() ? parseTyped(text.substr(slash + 1)) : 1;
    const double value = numerator / denominator;
    if (!(numerator > 0 && denominator > 0 && value >= 1e-30 && value <= 1e30)) {
        throw refusalOf(place, Sentence("\"") + oneLine(text) +
                                   "\" is not a positive number or a fraction like 1/33");
    }
    return {text, value};
}

void combine(DoseImage& dose, std::vector<DoseImage>& others, const DoseFactor& factor)
{
    if (others.empty() && factor.value == 1) {
        return;
    }
    files::LargeVector<double> sums(dose.image.values.begin(), dose.image.values.end());
    for (DoseImage& addend : others) {
        checkAddend(dose, addend);
        addGaps(dose, addend);
        const files::Values& values = addend.image.values;
        for (std::size_t i = 0; i < sums.size(); ++i) {
            sums[i] += static_cast<double>(values[i]);
        }
        addend.image.values = {};
    }
    const std::vector<unsigned char>* const measured =
        dose.measurement && !dose.measurement->isMeasured.empty() ? &dose.measurement->isMeasured
                                                                  : nullptr;
    const std::span<float> values = dose.image.values.own();
    for (std::size_t i = 0; i < sums.size(); ++i) {
        const bool isGap = measured != nullptr && (*measured)[i] == 0;
        const auto value = static_cast<float>(sums[i] * factor.value);
        values[i] = isGap ? 0 : value;
        if (!std::isfinite(value)) {
            throw failureOf(dose.path, "holds doses that are too large to be added or scaled");
        }
    }
}

} // namespace zarngi
