#include <gtest/gtest.h>

#include "cli/output/progress.h"

namespace
{

TEST(Progress, FollowsTheReportsInWhateverPiecesTheyCome)
{
    const std::string report =
        "Evaluation grid step size: 0.2 mm  -> num of fractional steps per DTA = 10\n"
        "\tsearching from 0 to DTA\n"
        "[  10  20  30  40  50  60  70  80  90 100]\n ........................................\n"
        "\tsearching from 1*DTA to 2*DTA\n"
        "[  10  20  30  40  50  60  70  80  90 100]\n ..........";
    for (const std::size_t piece : {1U, 7U, 1000U}) {
        zarngi::SearchFollower follower;
        EXPECT_EQ(follower.shell(), 0);
        for (std::size_t i = 0; i < report.size(); i += piece) {
            follower.read(std::string_view(report).substr(i, piece));
        }
        EXPECT_EQ(follower.shell(), 2);
        EXPECT_DOUBLE_EQ(follower.share(), 0.25);
    }
}

} // namespace
