#include <gtest/gtest.h>

#include "cli/output/progress.h"

namespace
{

TEST(Progress, TellsShareShellAndTime)
{
    EXPECT_EQ(zarngi::progressText("3%/2mm", {2, 3, 0.25}, 7.4),
              "3%/2mm [######..................] shell 2 of at most 3, 7 s");
    EXPECT_EQ(zarngi::progressText("1%L/1mm", {40, 100000000, 1}, 61),
              "1%L/1mm [########################] shell 40, 61 s");
    EXPECT_EQ(zarngi::progressText("3%/2mm", {1, 1, 0.5}, 7.4),
              "3%/2mm [############............] 50 %, 7 s"); // in parts
}

} // namespace
