// Compares two dose distributions from C++.
#include <libZarnGI.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

struct Dose {
    std::array<int, 3> size{40, 40, 20};         // voxels
    std::array<float, 3> spacing{2.5F, 2.5F, 5}; // mm
    std::array<float, 3> corner{0, 0, 0};        // mm, outer corner of the first voxel
    std::vector<float> map;                      // Gy, x fastest
};

/** A field of 50 mm with soft edges, its centre at x = cx (mm). */
Dose makeField(float cx)
{
    Dose dose;
    const auto centre = [&](std::size_t axis, int index) {
        return (static_cast<float>(index) + 0.5F) * dose.spacing[axis];
    };
    for (int iz = 0; iz < dose.size[2]; ++iz) {
        for (int iy = 0; iy < dose.size[1]; ++iy) {
            for (int ix = 0; ix < dose.size[0]; ++ix) {
                const float r = std::hypot(centre(0, ix) - cx, centre(1, iy) - 50) / 25;
                dose.map.push_back(2 / (1 + std::pow(r, 8.0F)) * (1 - centre(2, iz) / 300));
            }
        }
    }
    return dose;
}

void check(int status, const std::string& what)
{
    if (status != ZARNGI_OK) {
        throw std::runtime_error(what + ": status " + std::to_string(status));
    }
}

void compare(Dose reference, Dose evaluation)
{
    check(zarnGI_init(), "zarnGI_init");
    check(zarnGI_setRef(reference.size.data(), reference.spacing.data(), reference.corner.data(),
                        reference.map.data()),
          "reference");
    check(zarnGI_setEval(evaluation.size.data(), evaluation.spacing.data(),
                         evaluation.corner.data(), evaluation.map.data()),
          "evaluation");
    check(zarnGI_setDTA(2), "DTA");
    check(zarnGI_setDD(2), "DD");
    check(zarnGI_setDCO(10), "DCO");
    check(zarnGI_setNumThreads(2), "threads");
    check(zarnGI_startComputation(), "computation");

    float passRate = 0;
    std::vector<float> gamma(reference.map.size());
    check(zarnGI_getGammaIndexPassRate(&passRate), "pass rate");
    check(zarnGI_getGammaIndex3DMap(gamma.data()), "gamma map");
    std::cout << "pass rate 2%/2mm: " << passRate << " %\n"
              << "largest gamma: " << *std::max_element(gamma.begin(), gamma.end()) << '\n';
}

} // namespace

int main()
{
    try {
        compare(makeField(50), makeField(52.5F));
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
