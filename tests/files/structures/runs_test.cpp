#include <gtest/gtest.h>

#include <random>
#include <set>
#include <tuple>

#include "files/structures/runs.h"

using files::Run;
using files::Runs;

namespace
{

using Points = std::set<std::tuple<int, int, int>>;

Points pointsOf(const Runs& runs)
{
    Points points;
    for (const Run& run : runs) {
        for (int x = run.begin; x < run.end; ++x) {
            points.insert({run.z, run.y, x});
        }
    }
    return points;
}

/** What the type promises: in order, none empty, none touching. */
Runs runsOf(const Points& points)
{
    Runs runs;
    for (const auto& [z, y, x] : points) {
        if (!runs.empty() && runs.back().z == z && runs.back().y == y && runs.back().end == x) {
            ++runs.back().end;
        } else {
            runs.push_back({z, y, x, x + 1});
        }
    }
    return runs;
}

Points randomPoints(std::mt19937& random)
{
    std::uniform_int_distribution<int> side(0, 3);
    std::uniform_int_distribution<int> along(0, 9);
    std::uniform_int_distribution<int> count(0, 60);
    Points points;
    for (int left = count(random); left > 0; --left) {
        points.insert({side(random), side(random), along(random)});
    }
    return points;
}

TEST(Runs, SetsOfPointsAreCombinedAsSetsAre)
{
    std::mt19937 random(20);
    for (int round = 0; round < 2000; ++round) {
        const Points a = randomPoints(random);
        const Points b = randomPoints(random);
        Points both;
        Points either = a;
        either.insert(b.begin(), b.end());
        Points rest;
        for (const auto& point : a) {
            (b.count(point) > 0 ? both : rest).insert(point);
        }
        const Runs ofA = runsOf(a);
        const Runs ofB = runsOf(b);
        ASSERT_EQ(files::intersection(ofA, ofB), runsOf(both)) << round;
        ASSERT_EQ(files::unionOf(ofA, ofB), runsOf(either)) << round;
        ASSERT_EQ(files::difference(ofA, ofB), runsOf(rest)) << round;
        ASSERT_EQ(files::pointCount(ofA), a.size());
        ASSERT_EQ(pointsOf(ofA), a);
    }
}

} // namespace
