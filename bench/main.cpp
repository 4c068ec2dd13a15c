// How fast the gamma search is: against the plain search, and in itself. Ratios of times taken in
// turn within one run; docs/performance.md explains the columns.
#include <cstdio>
#include <iostream>

#include "commonOptions.h"
#include "growth.h"
#include "libZarnGI.h"
#include "limits.h"
#include "machine.h"
#include "options.h"
#include "pair.h"
#include "plainRows.h"

namespace
{

void declare(CLI::App& app, bench::Options& options)
{
    bench::declareCommon(app, options);
    app.add_flag("--quick", options.quick, "Leave out rows whose plain search takes long");
    app.add_flag("--no-plain", options.noPlain, "Leave out the plain search");
    app.add_flag("--scale", options.scale, "With 500^3 voxels; needs 4 GB of memory");
    app.add_flag("--growth", options.growth, "With growth by grid, step and search maximum");
}

bool measure(const bench::Options& options)
{
    if (options.synthetic == 0 && !bench::haveMeasuredPairs()) {
        std::cout << "no dose files beside the project: synthetic pairs\n";
    }
    std::cout << bench::machineDescription() << "\n"
              << options.threads << " threads, cut-off 10 %, step DTA/10, fastest of "
              << options.repetitions << " rounds or more" << std::endl;
    const bool plainAgrees = bench::measureAgainstPlain(options);
    const bool limitsAgree = bench::measureLimits(options);
    if (options.growth) {
        bench::measureGrowth(options);
    }
    return plainAgrees && limitsAgree;
}

int run(int argc, char** argv)
{
    CLI::App app("The gamma search against the plain search, and its limits.");
    bench::Options options;
    declare(app, options);
    CLI11_PARSE(app, argc, argv);
    zarnGI_init();
    const bool allAgree = measure(options);
    zarnGI_reset();
    if (!allAgree) {
        std::cerr << "zarngi_bench: results differ\n";
    }
    return allAgree ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zarngi_bench: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
