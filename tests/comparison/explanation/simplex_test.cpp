#include <gtest/gtest.h>
#include <nlopt.h>

#include <cmath>

#include "comparison/explanation/simplex.h"

namespace
{

using zarngi::minimiseBySimplex;
using zarngi::Minimum;
using zarngi::Place;
using zarngi::SimplexSpace;

using Function = std::function<double(const Place&)>;

double bowl(const Place& x)
{
    double sum = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double d = x[i] - 0.7 * static_cast<double>(i) + 0.5;
        sum += static_cast<double>(1 + 3 * i) * d * d;
    }
    return sum;
}

/** Long axes across the coordinates. */
double skewed(const Place& x)
{
    const double a = x[0] + x[1] - 1;
    const double b = x[0] - x[1] + 0.4 * x[2];
    const double c = x[2] - 0.5 * x[3] + 1;
    const double d = x[3] + 0.3 * x[0] - 2;
    return 20 * a * a + b * b + 5 * c * c + 0.5 * d * d;
}

double valley(const Place& x)
{
    const double a = x[1] - x[0] * x[0];
    const double b = 1 - x[0];
    return 100 * a * a + b * b;
}

/** As a mean of capped squares is: flat far away, with a kink. */
double capped(const Place& x)
{
    double sum = 0;
    for (const double value : x) {
        sum += std::min((value - 0.8) * (value - 0.8), 4.0) + 0.05 * std::fabs(value - 0.8);
    }
    return sum;
}

struct Problem {
    const char* name;
    Function function;
    SimplexSpace space;
};

SimplexSpace spaceOf(std::size_t dimensions, double bound, double step)
{
    return {Place(dimensions, -bound), Place(dimensions, bound), Place(dimensions, 0),
            Place(dimensions, step)};
}

std::vector<Problem> problems()
{
    return {{"one variable", bowl, spaceOf(1, 5, 1)},
            {"bowl", bowl, spaceOf(4, 5, 1.5)},
            {"skewed", skewed, spaceOf(4, 6, 1.5)},
            {"valley", valley, spaceOf(2, 3, 0.5)},
            {"capped", capped, spaceOf(3, 5, 1.5)},
            {"minimum outside of the bounds", bowl, spaceOf(4, 1.2, 0.5)}};
}

double callFunction(unsigned count, const double* x, double*, void* function)
{
    return (*static_cast<Function*>(function))(Place(x, x + count));
}

/** The least value that NLopt finds, with as many evaluations as it wants. */
double judged(Problem& problem, nlopt_algorithm algorithm)
{
    const auto count = static_cast<unsigned>(problem.space.start.size());
    nlopt_opt optimiser = nlopt_create(algorithm, count);
    nlopt_set_lower_bounds(optimiser, problem.space.lower.data());
    nlopt_set_upper_bounds(optimiser, problem.space.upper.data());
    nlopt_set_initial_step(optimiser, problem.space.steps.data());
    nlopt_set_min_objective(optimiser, callFunction, &problem.function);
    nlopt_set_xtol_abs1(optimiser, 1e-7);
    nlopt_set_maxeval(optimiser, 20000);
    Place place = problem.space.start;
    double least = 0;
    const nlopt_result result = nlopt_optimize(optimiser, place.data(), &least);
    nlopt_destroy(optimiser);
    EXPECT_GT(result, 0) << problem.name;
    return least;
}

TEST(Simplex, FindsNoHigherMinimumThanNLopt)
{
    for (Problem& problem : problems()) {
        const Minimum found =
            minimiseBySimplex(problem.function, problem.space, {1e-6, 4000, 4, 1e-9});
        EXPECT_TRUE(found.hasConverged) << problem.name;
        for (const nlopt_algorithm judge : {NLOPT_LN_NELDERMEAD, NLOPT_LN_SBPLX}) {
            EXPECT_LE(found.value, judged(problem, judge) + 1e-6) << problem.name;
        }
        EXPECT_EQ(found.value, problem.function(found.place)) << problem.name;
    }
}

TEST(Simplex, NeedsFewEvaluationsForTheToleranceOfAnExplanation)
{
    const Minimum found = minimiseBySimplex(skewed, spaceOf(4, 6, 1.5), {0.01, 400, 2, 1e-3});
    EXPECT_TRUE(found.hasConverged);
    EXPECT_LT(found.evaluations, 300);
    EXPECT_LT(found.value, 1e-3);
}

TEST(Simplex, EvaluatesWithinTheBoundsAndItsAllowance)
{
    int calls = 0;
    const SimplexSpace space = spaceOf(3, 0.6, 0.5);
    const auto counted = [&](const Place& place) {
        ++calls;
        for (std::size_t i = 0; i < place.size(); ++i) {
            EXPECT_GE(place[i], space.lower[i]);
            EXPECT_LE(place[i], space.upper[i]);
        }
        return capped(place);
    };
    for (const int allowed : {1, 2, 3, 5, 8, 21, 50}) {
        calls = 0;
        const Minimum found = minimiseBySimplex(counted, space, {1e-9, allowed, 2, 0});
        EXPECT_EQ(found.evaluations, calls);
        EXPECT_LE(calls, allowed);
        EXPECT_LE(found.value, capped(space.start));
    }
}

TEST(Simplex, LeavesAFlatFunctionAtItsStart)
{
    const Minimum found =
        minimiseBySimplex([](const Place&) { return 1.5; }, spaceOf(2, 5, 1), {0.01, 200, 2, 1e-3});
    EXPECT_TRUE(found.hasConverged);
    EXPECT_EQ(found.place, (Place{0, 0}));
}

} // namespace
