// zarngi-jpeg: reads a DICOM file with pixel data of the JPEG families from standard input and
// writes the unpacked pixels, little endian, to standard output. zarngi starts it; nothing that a
// damaged file does to the decoders reaches further than this process.
#include <gdcmImageReader.h>
#include <gdcmTrace.h>
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>
#include <iostream>
#include <vector>

#include "exitCodes.h"

namespace
{

/** Bounds on what a damaged file can make of this process. */
void setLimits()
{
    constexpr unsigned longest = 60;             // seconds
    constexpr rlim_t largest = rlim_t{16} << 30; // bytes of address space
    constexpr rlimit noCoreDump{0, 0};
    constexpr rlimit memory{largest, largest};
    setrlimit(RLIMIT_CORE, &noCoreDump);
    setrlimit(RLIMIT_AS, &memory);
    alarm(longest);
}

int unpack()
{
    gdcm::Trace::DebugOff();
    gdcm::Trace::WarningOff();
    gdcm::Trace::ErrorOff();
    std::ifstream input("/dev/stdin", std::ios::binary);
    gdcm::ImageReader reader;
    reader.SetStream(input);
    if (!reader.Read()) {
        return jpeg::refused;
    }
    std::vector<char> pixels(reader.GetImage().GetBufferLength());
    if (!reader.GetImage().GetBuffer(pixels.data())) {
        return jpeg::refused;
    }
    std::cout.write(pixels.data(), static_cast<std::streamsize>(pixels.size()));
    return std::cout.flush() ? jpeg::unpacked : jpeg::refused;
}

} // namespace

int main()
{
    setLimits();
    try {
        return unpack();
    } catch (...) {
        return jpeg::refused;
    }
}
