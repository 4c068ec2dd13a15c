#include "platform/machine.h"

#include <dlfcn.h>
#include <sys/utsname.h>

#include <filesystem>
#include <fstream>

namespace platform
{

std::string systemName()
{
    utsname names{};
    uname(&names);
    return std::string(names.sysname) + " " + names.release;
}

std::string processorName()
{
    std::ifstream about("/proc/cpuinfo");
    for (std::string line; std::getline(about, line);) {
        const std::size_t colon = line.find(": ");
        if (line.starts_with("model name") && colon != std::string::npos) {
            return line.substr(colon + 2);
        }
    }
    return {};
}

std::string programFile()
{
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).string();
}

std::string fileOfCode(const void* address)
{
    Dl_info about{};
    return dladdr(address, &about) != 0 && about.dli_fname != nullptr ? about.dli_fname : "";
}

} // namespace platform
