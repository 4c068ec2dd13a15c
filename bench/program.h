/**
 * @file program.h
 * What the benchmark programs have in common: options, measuring, exit code.
 */
#ifndef ZARNGI_BENCH_PROGRAM_H
#define ZARNGI_BENCH_PROGRAM_H

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>

#include "libZarnGI.h"
#include "options.h"

namespace bench
{

/** A benchmark program; `measure` tells whether all results agree. */
struct Program {
    const char* name;
    const char* description;
    void (*declare)(CLI::App&, Options&);
    bool (*measure)(const Options&);
};

/** Runs a program; its exit code is a failure when results differ, never because of a time. */
inline int runProgram(const Program& program, int argc, char** argv)
{
    try {
        CLI::App app(program.description);
        Options options;
        program.declare(app, options);
        CLI11_PARSE(app, argc, argv);
        zarnGI_init();
        const bool allAgree = program.measure(options);
        zarnGI_reset();
        if (!allAgree) {
            std::fprintf(stderr, "%s: results differ\n", program.name);
        }
        return allAgree ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", program.name, error.what());
        return EXIT_FAILURE;
    }
}

} // namespace bench

#endif
