// zarngi-jpeg: reads a DICOM file with pixel data of the JPEG families from standard input and
// writes the unpacked pixels, little endian, to standard output. zarngi starts it; nothing that a
// damaged file does to the decoders reaches further than this process.
#include <gdcmImageReader.h>
#include <gdcmTrace.h>

#include <fstream>
#include <iostream>
#include <vector>

#include "exitCodes.h"
#include "platform/process.h"

namespace
{

constexpr unsigned longest = 60;                       // seconds
constexpr std::size_t largest = std::size_t{16} << 30; // bytes of address space

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
    platform::limitThisProcess(longest, largest);
    try {
        return unpack();
    } catch (...) {
        return jpeg::refused;
    }
}
