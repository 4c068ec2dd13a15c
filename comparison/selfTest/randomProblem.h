/**
 * @file randomProblem.h
 * Random computations: the same ones for the same seeds, on every processor.
 */
#ifndef ZARNGI_COMPARISON_SELFTEST_RANDOMPROBLEM_H
#define ZARNGI_COMPARISON_SELFTEST_RANDOMPROBLEM_H

#include <array>
#include <initializer_list>
#include <random>

#include "comparison/selfTest/grid.h"

namespace zarngi::definition
{

/** Draws the grids, criteria and options of one computation. */
class RandomProblem
{
public:
    explicit RandomProblem(unsigned seed) : random_(seed), rare_(~seed) {}

    /**
     * Hands a problem over to the library and returns its number of shells.
     * @throws std::runtime_error when the library does not take it
     */
    int handOver();

private:
    bool rarely();
    bool chance(double probability);
    float uniform(float low, float high);
    float oneOf(std::initializer_list<float> values);
    std::array<int, 3> sizes(int most);
    Grid field(std::array<int, 3> nn, std::array<float, 3> hs, std::array<float, 3> x0);
    void handOverGrids();

    std::mt19937 random_;
    std::mt19937 rare_;  ///< what is rare is drawn apart from all else
    float distance_ = 0; ///< mm, between the grids along x
    float offset_ = 0;   ///< mm, of both from the origin
};

} // namespace zarngi::definition

#endif
