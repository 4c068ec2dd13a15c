#include "computation.h"

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "gammaIndexKernelCPU.h"
#include "libZarnGI.h"
#include "support/capturedOutput.h"
#include "support/definition.h"

namespace bench
{

namespace
{

/** Ends the benchmark when the library refuses a call. */
void require(int code)
{
    if (code != ZARNGI_OK) {
        throw std::runtime_error("the library answered " + std::to_string(code));
    }
}

std::string number(float value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%g", static_cast<double>(value));
    return text;
}

double now()
{
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

/** CPU time of this process, all threads together. */
double cpuNow()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/** Steps between two floats; both zeros count as one number. */
std::int64_t unitsInLastPlace(float a, float b)
{
    const auto ordered = [](float value) {
        std::int32_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        return bits < 0 ? INT32_MIN - std::int64_t{bits} : std::int64_t{bits};
    };
    return std::abs(ordered(a) - ordered(b));
}

} // namespace

std::string textOf(const Criteria& criteria)
{
    std::string text = number(criteria.DD) + " %" +
                       (criteria.criterion == Criterion::local ? " local" : "") + " / " +
                       number(criteria.DTA) + " mm";
    if (criteria.gammaSearchMax > 0) {
        text += ", max " + number(criteria.gammaSearchMax);
    }
    if (criteria.mode == Mode::passRate) {
        text += ", pass-rate mode";
    }
    if (criteria.doses != Doses::interpolated) {
        text += criteria.doses == Doses::nearest ? ", nearest doses" : ", 2D mode";
    }
    if (criteria.randomRotation) {
        text += ", random rotation";
    }
    if (criteria.stepsPerDTA != 10) {
        text += ", step DTA/" + number(criteria.stepsPerDTA);
    }
    return text;
}

void handOver(Pair pair)
{
    require(zarnGI_reset());
    require(setRef(std::move(pair.reference)));
    require(setEval(std::move(pair.evaluation)));
}

void setCriteria(const Criteria& criteria)
{
    constexpr float cutoff = 10;
    require(zarnGI_setDD(criteria.DD));
    require(zarnGI_setDTA(criteria.DTA));
    require(zarnGI_setDCO(cutoff));
    require(zarnGI_setStepSize(criteria.DTA / criteria.stepsPerDTA));
    Env->gammaSearchMax = criteria.gammaSearchMax > 0 ? criteria.gammaSearchMax : -1.0F;
    require(zarnGI_setDDCriterium(criteria.criterion == Criterion::local ? ZARNGI_DD_LOCAL
                                                                         : ZARNGI_DD_GLOBAL));
    require(zarnGI_setComputationMode(criteria.mode == Mode::passRate ? ZARNGI_MODE_PASS_RATE
                                                                      : ZARNGI_MODE_GAMMA_MAP));
    require(zarnGI_setInterpolation(criteria.doses != Doses::nearest));
    Env->gammaindex2D = criteria.doses == Doses::inPlanes;
    require(zarnGI_setRandomRotation(criteria.randomRotation));
}

double secondsOfLibrary(int threads)
{
    require(zarnGI_setNumThreads(threads));
    const CapturedOutput dropped;
    const double start = now();
    const int code = zarnGI_startComputation();
    const double seconds = now() - start;
    require(code);
    return seconds;
}

Run runLibrary(int threads)
{
    Run run;
    const double cpuStart = cpuNow();
    run.seconds = secondsOfLibrary(threads);
    run.cpuSeconds = cpuNow() - cpuStart;
    run.gamma.resize(Env->N_ref);
    require(zarnGI_getGammaIndex3DMap(run.gamma.data()));
    require(zarnGI_getGammaIndexPassRate(&run.passRate));
    return run;
}

Run runPlain(const Criteria& criteria, int threads)
{
    constexpr int unlimited = 100000000;
    const int shells = criteria.gammaSearchMax > 0
                           ? static_cast<int>(std::floor(criteria.gammaSearchMax + 0.5F))
                           : unlimited;
    Run run;
    const double cpuStart = cpuNow();
    const double start = now();
    const auto voxels = searchByDefinition(shells, static_cast<std::size_t>(threads));
    run.gamma = mapByDefinition(voxels);
    run.seconds = now() - start;
    run.cpuSeconds = cpuNow() - cpuStart;
    const auto passed = std::count_if(voxels.begin(), voxels.end(),
                                      [](const DefinedVoxel& voxel) { return voxel.passed; });
    run.passRate = static_cast<float>(static_cast<double>(passed) * 100.0 /
                                      static_cast<double>(voxels.size()));
    return run;
}

std::size_t testedVoxels()
{
    return activeVoxels.size();
}

Agreement agreementOf(const Run& a, const Run& b, bool randomRotation)
{
    if (a.gamma.size() != b.gamma.size()) {
        return {false, "maps of different size"};
    }
    if (sameBits(a.gamma, b.gamma) && sameBits({a.passRate}, {b.passRate})) {
        return {true, "all bits"};
    }
    std::size_t differing = 0;
    std::int64_t largest = 0;
    for (std::size_t i = 0; i < a.gamma.size(); ++i) {
        const std::int64_t units = unitsInLastPlace(a.gamma[i], b.gamma[i]);
        differing += units != 0 ? 1 : 0;
        largest = std::max(largest, units);
    }
    constexpr std::int64_t allowedByRotation = 4;
    const bool samePassRate = sameBits({a.passRate}, {b.passRate});
    if (randomRotation && samePassRate && largest <= allowedByRotation) {
        return {true, std::to_string(largest) + " ulp"};
    }
    return {false, std::to_string(differing) + " voxels differ" +
                       (samePassRate ? "" : ", and the pass rate")};
}

} // namespace bench
