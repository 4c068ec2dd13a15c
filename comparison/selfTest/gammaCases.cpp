#include <array>

#include "comparison/selfTest/cases.h"
#include "comparison/selfTest/grid.h"
#include "comparison/text.h"
#include "libZarnGI.h"

namespace zarngi::selftest
{

namespace
{

using definition::Grid;
using definition::makeGrid;

constexpr std::array<int, 3> voxels{9, 9, 9};
constexpr std::array<float, 3> spacing{2, 2, 2}; // mm

/** Doses that depend on x alone. @param shift mm, of the grid along x */
template <class Dose> Grid along(const Dose& doseAt, float shift = 0)
{
    return makeGrid(voxels, spacing, {shift, 0, 0}, [&](int x, int, int) { return doseAt(2 * x); });
}

struct Criteria {
    float distance; ///< mm
    float dose;     ///< %
    bool isLocal = false;
};

/** One voxel, with all doses around it: that in the middle. */
struct Found {
    double gamma = 0;
    double passRate = 0;
};

Found computed(const Grid& reference, const Grid& evaluation, const Criteria& criteria)
{
    zarnGI_reset();
    zarnGI_setVerbose(0);
    zarnGI_setDTA(criteria.distance);
    zarnGI_setDD(criteria.dose);
    zarnGI_setDCO(1);
    zarnGI_setDDCriterium(criteria.isLocal ? ZARNGI_DD_LOCAL : ZARNGI_DD_GLOBAL);
    definition::setRef(reference);
    definition::setEval(evaluation);
    std::vector<float> gamma(reference.map.size(), -1.0F);
    float passRate = -1;
    if (zarnGI_startComputation() == ZARNGI_OK) {
        zarnGI_getGammaIndex3DMap(gamma.data());
        zarnGI_getGammaIndexPassRate(&passRate);
    }
    return {static_cast<double>(gamma[gamma.size() / 2]), static_cast<double>(passRate)};
}

constexpr double roundings = 1e-5; // of single precision, where doses are subtracted

void addCase(Cases& cases, const std::string& name, double wanted, double wantedRate,
             const Found& found)
{
    cases.push_back(nearCase("gamma", name + ": gamma", wanted, found.gamma, roundings));
    cases.push_back(exactCase("gamma", name + ": pass rate in %", fixed(wantedRate, 6),
                              fixed(found.passRate, 6)));
}

} // namespace

Cases gammaCases()
{
    Cases cases;
    const Grid uniform = along([](int) { return 2.0F; });
    const auto uniformOf = [](float dose) { return along([dose](int) { return dose; }); };
    const auto ramp = [](int x) { return 1 + 0.5F * static_cast<float>(x); }; // Gy

    addCase(cases, "equal doses", 0, 100, computed(uniform, uniform, {2, 3}));
    // (0.03 Gy / 0.06 Gy), whatever the distance.
    addCase(cases, "a dose 1.5 % too high, 3 %", 0.5, 100,
            computed(uniform, uniformOf(2.03F), {2, 3}));
    addCase(cases, "a dose 4.5 % too low, 3 %", 1.5, 0,
            computed(uniform, uniformOf(1.91F), {2, 3}));
    // In a gradient that is steep for the criterion, the distance alone: 1 mm / 2 mm.
    addCase(cases, "a steep gradient, shifted by 1 mm, 2 mm", 0.5, 100,
            computed(along(ramp), along(ramp, 1), {2, 1}));
    addCase(cases, "a local difference of 0.45 Gy of 9 Gy, 10 %", 0.5, 100,
            computed(uniformOf(9), uniformOf(9.45F), {1, 10, true}));
    zarnGI_reset();
    return cases;
}

} // namespace zarngi::selftest
