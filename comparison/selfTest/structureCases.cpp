#include <cmath>
#include <numbers>

#include "comparison/compare.h"
#include "comparison/selfTest/cases.h"

namespace zarngi::selftest
{

namespace
{

using files::Contour;

constexpr int planes = 9;
constexpr double planeDistance = 3;               // mm
constexpr double height = planes * planeDistance; // each plane stands for half a distance each way
constexpr double halfX = 20;                      // mm, of the box
constexpr double halfY = 15;
constexpr double radius = 24; // mm, of the cylinder
constexpr int corners = 120;
constexpr double slope = 0.1; // Gy / mm, along x
constexpr double middle = 10; // Gy, where x is 0
constexpr double added = 0.5; // Gy, in the evaluation

files::Structure prism(const char* name, int number, const std::vector<std::array<double, 2>>& base)
{
    files::Structure structure;
    structure.name = name;
    structure.number = number;
    for (int plane = 0; plane < planes; ++plane) {
        const int fromMiddle = plane - planes / 2;
        Contour contour;
        for (const auto& [x, y] : base) {
            contour.vertices.push_back({x, y, fromMiddle * planeDistance});
        }
        structure.contours.push_back(std::move(contour));
    }
    return structure;
}

std::vector<std::array<double, 2>> polygon()
{
    std::vector<std::array<double, 2>> base;
    for (int i = 0; i < corners; ++i) {
        const double angle = 2 * std::numbers::pi * i / corners;
        base.push_back({radius * std::cos(angle), radius * std::sin(angle)});
    }
    return base;
}

/** Doses that grow along x, and two prisms in them. */
class PrismSource : public DoseSource
{
public:
    DoseImage dose(const std::string& name, const files::TableUnits& /*units*/) override
    {
        constexpr int size = 40;
        DoseImage dose;
        dose.image.geometry = {{size, size, size}, {2, 2, 2}, {-39, -39, -39}};
        files::LargeVector<float> values;
        for (std::size_t i = 0; i < dose.image.geometry.voxels(); ++i) {
            const double x = dose.image.geometry.centreOf(i)[0];
            values.push_back(
                static_cast<float>(middle + slope * x + (name == "evaluation" ? added : 0)));
        }
        dose.image.values = std::move(values);
        dose.path = name;
        dose.dataPath = name;
        dose.format = "array";
        return dose;
    }
    files::StructureSet structures(const std::string& name) override
    {
        files::StructureSet set;
        set.path = name;
        set.format = "array";
        set.structures = {
            prism("Box", 1, {{-halfX, -halfY}, {halfX, -halfY}, {halfX, halfY}, {-halfX, halfY}}),
            prism("Cylinder", 2, polygon())};
        return set;
    }
    files::Plan plan(const std::string& /*name*/) override { return {}; }
    FileDigests digests() const override { return {}; }
};

/** The dose that a share of the box reaches. */
double doseToShare(double percent)
{
    return middle + slope * halfX * (1 - 2 * percent / 100);
}

void addDoses(Cases& cases, const StructureRow& box, const DoseVolumeSettings& settings)
{
    constexpr double tolerance = 0.05; // Gy: the slope over half of a sub-point of a millimetre
    cases.push_back(nearCase("structures", "Box, mean dose of the reference in Gy", middle,
                             box.reference->mean, tolerance));
    cases.push_back(nearCase("structures", "Box, mean dose of the evaluation in Gy", middle + added,
                             box.evaluation->mean, tolerance));
    for (std::size_t i = 0; i < settings.metrics.size(); ++i) {
        const DoseMetric& metric = settings.metrics[i];
        if (metric.kind == DoseMetric::Kind::doseToShare && box.reference->metrics[i]) {
            cases.push_back(nearCase("structures", "Box, " + metric.label() + " in Gy",
                                     doseToShare(metric.value), *box.reference->metrics[i],
                                     tolerance));
        }
    }
}

} // namespace

Cases structureCases()
{
    constexpr double cubicMillimetres = 1000; // of a cc
    constexpr double volumeTolerance = 0.01;  // of the volume
    Request request;
    request.reference.file = "reference";
    request.evaluation.file = "evaluation";
    request.structures.files = {"structures"};
    PrismSource source;
    const Comparison comparison = compare(request, source);
    const StructureComparison& structures = comparison.structures.value();
    const double box = 4 * halfX * halfY * height / cubicMillimetres;
    const double cylinder = 0.5 * corners * std::sin(2 * std::numbers::pi / corners) * radius *
                            radius * height / cubicMillimetres;
    Cases cases{nearCase("structures", "Box, volume in cc", box, structures.rows.at(0).volume,
                         volumeTolerance * box),
                nearCase("structures", "Cylinder, volume in cc", cylinder,
                         structures.rows.at(1).volume, volumeTolerance * cylinder)};
    addDoses(cases, structures.rows.at(0), structures.doseVolume);
    return cases;
}

} // namespace zarngi::selftest
