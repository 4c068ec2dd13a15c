// How fast the gamma search is: against the plain search, and in itself. Ratios of times taken in
// turn within one run; docs/performance.md explains the columns.
#include <iostream>

#include "commonOptions.h"
#include "growth.h"
#include "limits.h"
#include "machine.h"
#include "options.h"
#include "pair.h"
#include "plainRows.h"
#include "program.h"

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

} // namespace

int main(int argc, char** argv)
{
    return bench::runProgram({"zarngi_bench",
                              "The gamma search against the plain search, and its limits.", declare,
                              measure},
                             argc, argv);
}
