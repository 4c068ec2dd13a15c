// Runs the tests of this program on one vector path, named by the argument --path=NAME. Exits with
// the code for a skipped test where this CPU does not run the path.
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "paths/vectorPath.h"

int main(int argc, char** argv)
{
    constexpr int skipped = 77;
    constexpr int badArgument = 2;
    testing::InitGoogleTest(&argc, argv);
    const std::string option = "--path=";
    const std::string argument = argc == 2 ? argv[1] : "";
    if (argument.rfind(option, 0) != 0) {
        std::fprintf(stderr, "usage: --path=portable|SSE2|AVX2|AVX-512\n");
        return badArgument;
    }
    for (const VectorPath& path : vectorPaths) {
        if (path.name == argument.substr(option.size())) {
            if (!path.supported()) {
                std::printf("This CPU does not run the path %s\n", path.name);
                return skipped;
            }
            forceVectorPath(&path);
            return RUN_ALL_TESTS();
        }
    }
    std::fprintf(stderr, "no such path: %s\n", argument.c_str());
    return badArgument;
}
