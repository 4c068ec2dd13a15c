#include "peakMemory.h"

#include <fstream>
#include <stdexcept>
#include <string>

namespace bench
{

void resetPeakMemory()
{
    std::ofstream file("/proc/self/clear_refs");
    file << "5" << std::flush;
    if (!file) {
        throw std::runtime_error("cannot reset the peak memory in /proc/self/clear_refs");
    }
}

double peakMemory()
{
    std::ifstream status("/proc/self/status");
    std::string key;
    while (status >> key) {
        if (key == "VmHWM:") {
            double kilobytes = 0;
            status >> kilobytes;
            return 1024 * kilobytes;
        }
    }
    throw std::runtime_error("no VmHWM in /proc/self/status");
}

} // namespace bench
