// What structures cost, against the search that they are compared by: the head-and-neck phantom,
// one thread, in turn within one run. docs/performance.md explains the columns.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iostream>

#include "comparison/gammaRun.h"
#include "comparison/structures/doseVolume.h"
#include "comparison/structures/structureCatalogue.h"
#include "files/nativeDeflate.h"
#include "files/readDose.h"
#include "files/structures/readStructures.h"
#include "machine.h"
#include "table.h"

namespace
{

using namespace bench;
namespace fs = std::filesystem;

struct Phantom {
    zarngi::DoseImage reference;
    zarngi::DoseImage evaluation;
    files::StructureSet structures;
};

template <class Value> Value valueOf(files::Result<Value> result, const fs::path& path)
{
    if (!result) {
        throw std::runtime_error(path.string() + ": " + result.error().sentence);
    }
    return std::move(*result);
}

Phantom readPhantom(const fs::path& folder)
{
    const files::Host host{files::nativeDeflate()};
    const auto dose = [&](const char* name) {
        return valueOf(files::readDoseFile(folder / name, host), folder / name);
    };
    const fs::path structures = folder / "head_neck_structures.dcm";
    return {dose("head_neck_day1.nrrd"), dose("head_neck_day2.nrrd"),
            valueOf(files::readStructuresFile(structures, host), structures)};
}

template <class Work> double secondsOf(const Work& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/** The voxels of all structures, from their contours as they were read. */
std::size_t voxelise(const Phantom& phantom)
{
    const zarngi::Geometry& grid = phantom.reference.image.geometry;
    std::size_t voxels = 0;
    for (const auto& region : files::regionsOf(phantom.structures, grid.spacing[2])) {
        voxels += files::pointCount(region->pointsIn(files::voxelCentres(grid)));
    }
    return voxels;
}

/** The histograms of both doses in all structures, with the sub-points that they need. */
std::size_t histograms(const Phantom& phantom)
{
    const zarngi::Geometry& grid = phantom.reference.image.geometry;
    const zarngi::DoseVolumeSettings settings{zarngi::withUsualMetrics({}), 60, 0.1};
    std::size_t points = 0;
    for (const auto& region : files::regionsOf(phantom.structures, grid.spacing[2])) {
        const zarngi::SubPoints inside =
            zarngi::subPointsOf(grid, [&](const auto& raster) { return region->pointsIn(raster); });
        points += inside.count();
        doseVolume(zarngi::viewOf(phantom.reference.image), inside, settings);
        doseVolume(zarngi::viewOf(phantom.evaluation.image), inside, settings);
    }
    return points;
}

void measure(const Phantom& phantom, int rounds)
{
    constexpr double mostOfVoxels = 2; // times the search
    constexpr double mostOfHistograms = 8;
    zarngi::GammaRun run(phantom.reference, phantom.evaluation);
    zarngi::GammaSettings settings;
    settings.threads = 1;
    double search = 1e9;
    double voxels = 1e9;
    double doses = 1e9;
    std::size_t voxelCount = 0;
    std::size_t pointCount = 0;
    for (int round = 0; round < rounds; ++round) {
        search = std::min(search, run.compute(settings, {3, 3, false}).seconds);
        voxels = std::min(voxels, secondsOf([&] { voxelCount = voxelise(phantom); }));
        doses = std::min(doses, secondsOf([&] { pointCount = histograms(phantom); }));
    }
    const Table table("Structures", {{"16 structures, one thread", 26},
                                     {"points", 8},
                                     {"time s", 8},
                                     {"times the search", 16},
                                     {"met", 3}});
    const auto row = [&](const char* name, std::size_t points, double seconds, double most) {
        table.print({name, std::to_string(points), shortNumber(seconds),
                     shortNumber(seconds / search), seconds <= most * search ? "yes" : "no"});
    };
    table.print({"search, 3 % / 3 mm", "", shortNumber(search), "1", ""});
    row("voxels", voxelCount, voxels, mostOfVoxels);
    row("histograms of both doses", pointCount, doses, mostOfHistograms);
}

} // namespace

int main(int argc, char** argv)
{
    try {
        CLI::App app("What structures cost, against the search.");
        int rounds = 5;
        std::string folder = ZARNGI_TEST_DATA;
        app.add_option("--repetitions", rounds, "Rounds")->capture_default_str();
        app.add_option("--data", folder, "Folder of the measured doses and their structures");
        CLI11_PARSE(app, argc, argv);
        std::cout << machineDescription() << std::endl;
        if (!fs::exists(fs::path(folder) / "head_neck_structures.dcm")) {
            std::cout << "no structures in " << folder << ": nothing is measured\n";
            return EXIT_SUCCESS;
        }
        measure(readPhantom(folder), rounds);
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::cerr << "zarngi_bench_structures: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
