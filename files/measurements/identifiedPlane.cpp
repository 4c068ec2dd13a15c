#include "files/measurements/identifiedPlane.h"

#include <array>

#include "files/formats/textHeader.h"
#include "files/measurements/tableText.h"
#include "files/text.h"

namespace files
{

namespace
{

struct Mark {
    std::string_view start; ///< of a line, without blanks before it, in lower case
    FileFormat format;
};

constexpr std::array<Mark, 20> marks{{
    {"begin_scan", FileFormat::ptwArray},
    {"format=cc-export", FileFormat::ptwArray},
    {"file_creation_date=", FileFormat::ptwArray},
    {"<opimrtascii>", FileFormat::ibaPlane},
    {"<asciiheader", FileFormat::ibaPlane},
    {"opdfile", FileFormat::binaryIbaPlane},
    {"<opdfile", FileFormat::binaryIbaPlane},
    {"0001108e", FileFormat::qaPlane},
    {"planedesc,", FileFormat::qaPlane},
    {"outputwidlenqaplane,", FileFormat::qaPlane},
    {"doseptsxy,", FileFormat::qaPlane},
    {"doseresmm,", FileFormat::qaPlane},
    {"brainlab dose export", FileFormat::iplanPlane},
    {"ap \\ lr", FileFormat::iplanPlane},
    {"fh \\ lr", FileFormat::iplanPlane},
    {"ap \\ fh", FileFormat::iplanPlane},
    {"fh \\ ap", FileFormat::iplanPlane},
    {"fileformat=generic dosimetry exchange", FileFormat::exchangedImage},
    {"[interpretation]", FileFormat::exchangedImage},
    {"separator1=", FileFormat::exchangedImage},
}};

} // namespace

std::optional<FileFormat> identifiedPlane(std::string_view beginning)
{
    Lines lines({reinterpret_cast<const unsigned char*>(beginning.data()), beginning.size()});
    while (const auto line = lines.next()) {
        const std::string text = lowerCase(stripped(*line));
        for (const Mark& mark : marks) {
            if (text.starts_with(mark.start)) {
                return mark.format;
            }
        }
    }
    return {};
}

} // namespace files
