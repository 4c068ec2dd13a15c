// Runs the tests of this program on one vector path, named by the argument --path=NAME, or with
// --path=all on every path of this CPU, where they ask for that. Exits with the code for a skipped
// test where this CPU does not run the path.
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "paths/vectorPath.h"
#include "support/eachPath.h"

using namespace zarngi::engine;

namespace
{

std::vector<const VectorPath*> testedPaths;

} // namespace

void onEachPath(const std::function<void()>& work)
{
    for (const VectorPath* path : testedPaths) {
        SCOPED_TRACE(path->name);
        forceVectorPath(path);
        work();
    }
}

int main(int argc, char** argv)
{
    constexpr int skipped = 77;
    constexpr int badArgument = 2;
    testing::InitGoogleTest(&argc, argv);
    const std::string option = "--path=";
    const std::string argument = argc == 2 ? argv[1] : "";
    if (argument.rfind(option, 0) != 0) {
        std::fprintf(stderr, "usage: --path=portable|SSE2|AVX2|AVX-512|all\n");
        return badArgument;
    }
    const std::string name = argument.substr(option.size());
    bool isKnown = false;
    for (const VectorPath& path : vectorPaths) {
        if (name != "all" && name != path.name) {
            continue;
        }
        isKnown = true;
        if (path.supported()) {
            testedPaths.push_back(&path);
        } else {
            std::printf("This CPU does not run the path %s\n", path.name);
        }
    }
    if (!isKnown) {
        std::fprintf(stderr, "no such path: %s\n", argument.c_str());
        return badArgument;
    }
    if (testedPaths.empty()) {
        return skipped;
    }
    forceVectorPath(testedPaths.front());
    return RUN_ALL_TESTS();
}
