#include "machine.h"

#include <unistd.h>

#include <cmath>
#include <fstream>
#include <thread>

namespace bench
{

namespace
{

std::string processor()
{
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("model name", 0) == 0) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown processor";
}

std::string vectorInstructions()
{
    if (__builtin_cpu_supports("avx512f") != 0) {
        return "AVX-512";
    }
    return __builtin_cpu_supports("avx2") != 0 ? "AVX2" : "SSE2";
}

std::string compiler()
{
#ifdef __clang__
    return __VERSION__;
#else
    return "GCC " __VERSION__;
#endif
}

} // namespace

std::string machineDescription()
{
    constexpr double bytesPerGiB = 1073741824.0;
    const double bytes =
        static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
    return processor() + ", " + std::to_string(std::thread::hardware_concurrency()) + " CPUs, " +
           vectorInstructions() + ", " + std::to_string(std::lround(bytes / bytesPerGiB)) +
           " GiB, " + compiler();
}

} // namespace bench
