#include "report.h"

#include <cstdio>
#include <iostream>

#include "engineState.h"

namespace zarngi::engine
{

namespace
{

// Verbosity levels: what is printed from which level on.
constexpr int dotsOnly = 1;
constexpr int shellLines = 3;
constexpr int everything = 5;

/** Writes the parts as one line. */
template <class... Parts> void line(const Parts&... parts)
{
    (std::cout << ... << parts) << std::endl;
}

} // namespace

namespace report
{

bool showsEverything()
{
    return Env->verbose >= everything;
}

void criteria()
{
    if (showsEverything()) {
        line("DTA,DD,DDT,DCO : ", DTA, ' ', DD, localDD ? " L" : " G", ' ', DCO);
    }
}

void activeVoxelCount(const DoseLevels& levels)
{
    if (showsEverything()) {
        line();
        line("Num of active voxel to be tested: ", levels.countActiveVoxel);
    }
}

void nothingToDo()
{
    if (showsEverything()) {
        line("Nothing to do! Bye bye");
    }
}

void options()
{
    if (!showsEverything()) {
        return;
    }
    line(Env->lNoInterpolation ? "Do not interpolate dose values"
                               : "Interpolate dose values using neighboring voxels");
    if (Env->randomRotation) {
        line("Applying a random rotation of evaluation points");
    }
}

void doseLevels(const DoseLevels& levels, float maxDose_eval)
{
    line();
    line("maxDose ref : ", levels.maxDose, " Gy");
    line("maxDose eval: ", maxDose_eval, " Gy");
    line();
    line("global normalisation dose : ", levels.globalReferenceDose, " Gy");
    line();
    line("DCO: ", levels.cutoff, " Gy");
}

void doseDifference()
{
    if (!showsEverything()) {
        return;
    }
    if (localDD) {
        line("Using local DD for agreement: ", DD, " %");
    } else {
        line("Dose difference for agreement: ", DDvalue, " Gy");
    }
    line();
}

void search()
{
    if (!showsEverything()) {
        return;
    }
    line("Evaluation grid step size: ", Env->stepSize,
         " mm  -> num of fractional steps per DTA = ", DTA / Env->stepSize);
    line();
    if (Env->gammaSearchMax > 0) {
        line("Maximum gamma searched for: ", Env->gammaSearchMax);
    } else {
        line("Maximum gamma searched for: ", "inf");
    }
    line("Nref Neval ", Env->N_ref, ' ', Env->N_eval);
}

void skimmedVoxels(std::size_t skimmed)
{
    if (showsEverything()) {
        line("Num of skimmed voxels: ", skimmed);
    }
}

void slices2D()
{
    if (Env->gammaindex2D_z) {
        line("Performing a 2D gamma-index analysis for each z-slice");
    }
    if (Env->gammaindex2D_x) {
        line("Performing a 2D gamma-index analysis for each x-slice");
    }
    if (Env->gammaindex2D_y) {
        line("Performing a 2D gamma-index analysis for each y-slice");
    }
}

void threads()
{
    if (!showsEverything()) {
        return;
    }
    if (pthreads_max_num == 1) {
        std::puts("\nExecuting the kernel on 1 thread ...");
    } else {
        std::printf("\nExecuting the kernel on %d threads ...\n", pthreads_max_num);
    }
    std::fflush(stdout);
}

void shell(int ishell)
{
    if (Env->verbose == dotsOnly) {
        std::cout << '.' << std::flush;
    } else if (Env->verbose >= shellLines) {
        if (ishell == 1) {
            line("\tsearching from 0 to DTA");
        } else {
            line("\tsearching from ", ishell - 1, "*DTA to ", ishell, "*DTA");
        }
    }
}

void searchEnded()
{
    if (Env->verbose == dotsOnly) {
        line();
    }
}

void progressHeader()
{
    if (showsEverything()) {
        line("[  10  20  30  40  50  60  70  80  90 100]");
        std::cout << ' ';
    }
}

void progressMark()
{
    if (showsEverything()) {
        std::cout << '.';
    }
    std::cout << std::flush;
}

void progressEnd()
{
    if (showsEverything()) {
        line('.');
    }
}

void counts(int numPassed)
{
    if (!showsEverything()) {
        return;
    }
    line();
    line("Results:");
    line("Num tested voxels: ", activeVoxels.size());
    line("Num passed voxels: ", numPassed);
    line("Num failed voxels: ", activeVoxels.size() - static_cast<std::size_t>(numPassed));
    line();
}

void statistics(const GammaStatistics& statistics)
{
    line("Gamma-index min/max = ", statistics.gmin, " / ", statistics.gmax);
    line("Gamma-index avg +/- 1 std = ", statistics.gamma_avg, ' ', statistics.gamma_std);
    line();
}

void passRate(float passRate)
{
    if (showsEverything()) {
        std::printf("Gamma-index %.0fmm/%.0f%% pass-rate:  %f %%\n", static_cast<double>(DTA),
                    static_cast<double>(DD), static_cast<double>(passRate));
        std::fflush(stdout);
    }
}

void done()
{
    if (showsEverything()) {
        line("Done!");
    }
}

} // namespace report

} // namespace zarngi::engine
