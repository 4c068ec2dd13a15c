#include "comparison/selfTest/randomProblem.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <stdexcept>

#include "libZarnGI.h"

namespace zarngi::definition
{

namespace
{

constexpr float infinite = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

void demand(int status)
{
    if (status != ZARNGI_OK) {
        throw std::runtime_error("the library refuses a grid");
    }
}

} // namespace

int RandomProblem::handOver()
{
    const float DTA = oneOf({1.0F, 2.0F, 3.0F, 0.7F});
    const float DCO = oneOf({1.0F, 10.0F, 50.0F});
    const float DD = oneOf({1.0F, 3.0F, 10.0F});
    zarnGI_setDTA(DTA);
    zarnGI_setDD(DD);
    zarnGI_setDCO(DCO);
    zarnGI_setStepSize(DTA / oneOf({3.0F, 4.5F, 7.0F, 10.0F}));
    if (chance(0.3)) {
        zarnGI_setGlobalNormalization(uniform(0.5F, 3));
    }
    zarnGI_setDDCriterium(chance(0.3) ? ZARNGI_DD_LOCAL : ZARNGI_DD_GLOBAL);
    zarnGI_setComputationMode(chance(0.2) ? ZARNGI_MODE_PASS_RATE : ZARNGI_MODE_GAMMA_MAP);
    zarnGI_setInterpolation(!chance(0.25));
    zarnGI_setRandomRotation(chance(0.2));
    Env->gammaindex2D = chance(0.2);
    zarnGI_setNumThreads(1 + static_cast<int>(random_() % 4));
    int shells = 1 + static_cast<int>(random_() % 3);
    if (rarely()) {
        zarnGI_setStepSize(2.7F * DTA); // most shells hold no lattice point
        shells += 4;
    }
    if (rarely()) {
        distance_ = 3 * DTA; // most shells do not reach the evaluation grid
        shells += 4;
    }
    if (rarely()) { // positions are rounded to a visible part of the step
        constexpr std::array<float, 4> offsets{3e3F, 1e4F, 3e4F, -1e5F};
        offset_ = offsets[rare_() % offsets.size()];
    }
    zarnGI_setGammaSearchMax(static_cast<float>(shells));
    handOverGrids();
    return shells;
}

bool RandomProblem::rarely()
{
    return rare_() % 12 == 0;
}

bool RandomProblem::chance(double probability)
{
    return uniform(0, 1) < static_cast<float>(probability);
}

float RandomProblem::uniform(float low, float high)
{
    return std::uniform_real_distribution<float>(low, high)(random_);
}

float RandomProblem::oneOf(std::initializer_list<float> values)
{
    return values.begin()[random_() % values.size()];
}

std::array<int, 3> RandomProblem::sizes(int most)
{
    std::array<int, 3> nn{};
    for (int& n : nn) {
        n = 1 + static_cast<int>(random_() % static_cast<unsigned>(most));
    }
    return nn;
}

Grid RandomProblem::field(std::array<int, 3> nn, std::array<float, 3> hs, std::array<float, 3> x0)
{
    const float slope[3] = {uniform(-0.2F, 0.2F), uniform(-0.2F, 0.2F), uniform(-0.2F, 0.2F)};
    const float noise = oneOf({0, 0.02F, 0.5F});
    const bool steps = chance(0.2); // plateaus, with many equal doses
    const float odd = chance(0.15) ? 0.02F : 0.0F;
    return makeGrid(nn, hs, x0, [&](int x, int y, int z) {
        const float smooth = 1 + slope[0] * static_cast<float>(x) +
                             slope[1] * static_cast<float>(y) + slope[2] * static_cast<float>(z) +
                             noise * uniform(-1, 1);
        if (uniform(0, 1) < odd) {
            return oneOf({notANumber, infinite, -infinite, 0, -0.0F, 1e30F, 1e-40F});
        }
        return steps ? std::floor(4 * smooth) / 4 : smooth;
    });
}

void RandomProblem::handOverGrids()
{
    const auto spacing = [&] { return oneOf({0.4F, 1.0F, 2.0F, 2.5F, uniform(0.3F, 4)}); };
    const std::array<float, 3> hs{spacing(), spacing(), spacing()};
    std::array<float, 3> x0{uniform(-30, 30), uniform(-30, 30), uniform(-30, 30)};
    for (float& lower : x0) {
        lower += offset_;
    }
    demand(setRef(field(sizes(7), hs, x0)));
    std::array<float, 3> hsEval = hs;
    std::array<float, 3> x0Eval = x0;
    if (chance(0.7)) {
        for (std::size_t a = 0; a < 3; ++a) {
            hsEval[a] = spacing();
            x0Eval[a] += uniform(-3, 3);
        }
    }
    std::array<int, 3> nnEval = sizes(9);
    x0Eval[0] -= distance_ > 0 ? static_cast<float>(nnEval[0]) * hsEval[0] + distance_ : 0;
    demand(setEval(field(nnEval, hsEval, x0Eval)));
}

} // namespace zarngi::definition
