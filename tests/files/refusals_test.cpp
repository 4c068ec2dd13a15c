/** Files that are damaged, and files that are in order but not read. */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "files/nativeDeflate.h"
#include "files/readDose.h"

namespace
{

using files::FileError;
using Kind = FileError::Kind;

struct Sample {
    std::string contents;
    Kind kind;
};

const std::string nrrd = "NRRD0004\ntype: uint8\ndimension: 3\nsizes: 2 1 1\n";
const std::string placed = "encoding: raw\nspacings: 1 1 1\n";
const std::string meta = "NDims = 3\nDimSize = 2 1 1\nElementSpacing = 1 1 1\n";
const std::string local = "ElementDataFile = LOCAL\nab";
const std::string simulated = " 2 1 1\n0 1 2\n0 1\n0 1\n";

const std::vector<Sample> samples = {
    {"", Kind::damaged},
    {nrrd + placed + "\na", Kind::damaged},
    {nrrd + placed + "sizes: 3 1 1\n\nabc", Kind::damaged},
    {nrrd + placed + "nothing\n\nab", Kind::damaged},
    {nrrd + "encoding: gzip\nspacings: 1 1 1\n\nab", Kind::damaged},
    {"NRRD0009\n\n", Kind::notSupported},
    {nrrd + "encoding: bzip2\nspacings: 1 1 1\n\nab", Kind::notSupported},
    {nrrd + placed + "units: \"s\" \"s\" \"s\"\n\nab", Kind::notSupported},
    {"NRRD0004\ntype: block\ndimension: 3\nsizes: 2 1 1\n" + placed + "\nab", Kind::notSupported},
    {"NRRD0004\ntype: uint8\ndimension: 4\nsizes: 2 1 1 3\nencoding: raw\nspacings: 1 1 1 1\n\n"
     "abcdef",
     Kind::notSupported},
    {meta + "ElementType = MET_UCHAR\nElementDataFile = LOCAL\na", Kind::damaged},
    {meta + "ElementType = MET_UCHAR\nNDims = 2\n" + local, Kind::damaged},
    {meta + "ElementType = MET_STRING\n" + local, Kind::notSupported},
    {meta + "ElementType = MET_UCHAR\nElementNumberOfChannels = 3\n" + local, Kind::notSupported},
    {simulated + "1 2\n0\n", Kind::damaged},
    {simulated + "1 x\n0 0\n", Kind::damaged},
    {" 2 1 1\n0 1 3\n0 1\n0 1\n1 2 0 0\n", Kind::notSupported},
    {"x (mm),y (mm),dose (Gy)\n0,0,1\n1,0\n", Kind::damaged},
    {"x (mm),y (mm),dose (%)\n0,0,1\n1,0,2\n", Kind::notSupported},
    {"\xFF\xD8\xFF\xE0", Kind::foreign},
};

TEST(Refusals, DamageIsToldFromWhatIsNotRead)
{
    for (const Sample& sample : samples) {
        const auto* const bytes = reinterpret_cast<const unsigned char*>(sample.contents.data());
        const files::ByteView contents{bytes, sample.contents.size()};
        const auto dose = files::readDose(contents, "", {}, {files::nativeDeflate()});
        ASSERT_FALSE(dose) << sample.contents;
        EXPECT_EQ(dose.error().kind, sample.kind) << dose.error().sentence;
    }
}

} // namespace
