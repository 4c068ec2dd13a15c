/** Label masks, written out here as text. */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "files/nativeDeflate.h"
#include "files/structures/labelMask.h"
#include "files/structures/readStructures.h"

namespace
{

using files::Result;
using files::Structure;
using files::StructureSet;
using std::string;

const string inSpace =
    "space: LPS\nspace origin: (1,2,3)\nspace directions: (2,0,0) (0,3,0) (0,0,4)\n";

/** A NRRD whose values stand in it as text. */
string nrrd(const string& sizes, const string& lines, const string& values,
            const string& type = "int")
{
    const auto dimensions = 1 + std::count(sizes.begin(), sizes.end(), ' ');
    return "NRRD0004\ntype: " + type + "\ndimension: " + std::to_string(dimensions) +
           "\nsizes: " + sizes + "\nencoding: ascii\n" + lines + "\n" + values;
}

string mask(const string& values, const string& keys = "", const string& type = "int")
{
    return nrrd("2 2 1", inSpace + keys, values, type);
}

/** Two layers of 2 x 1 x 2 voxels, those of a voxel side by side. */
string layers(const string& values, const string& keys,
              const string& kinds = "list domain domain domain")
{
    return nrrd("2 2 1 2",
                "kinds: " + kinds +
                    "\nspace: LPS\nspace origin: (1,2,3)\n"
                    "space directions: none (2,0,0) (0,3,0) (0,0,4)\n" +
                    keys,
                values);
}

Result<StructureSet> read(const string& bytes, const string& name = "folder/PTV 57.nii.gz")
{
    const auto find = [](const string&) -> Result<files::Bytes> {
        return files::FileError{files::FileError::Kind::damaged, "its data file is missing"};
    };
    return files::readStructures(
        {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()}, name, find,
        {files::nativeDeflate()});
}

/** Of each structure its name, number and voxels: "label 3 = 3: 0101". */
string outcome(const string& bytes)
{
    const auto set = read(bytes);
    if (!set) {
        return set.error().sentence;
    }
    string text;
    for (const Structure& structure : set->structures) {
        text += text.empty() ? "" : "; ";
        text += structure.name + " = " + std::to_string(structure.number) + ": ";
        for (const std::int32_t label : structure.region->grid->labels) {
            text += label == structure.region->label ? '1' : '0';
        }
    }
    return text;
}

TEST(LabelMask, EachValueIsAStructure)
{
    EXPECT_EQ(outcome(mask("0 3 7 3")), "label 3 = 3: 0101; label 7 = 7: 0010");
    EXPECT_EQ(outcome(mask("0 1 1 0")), "PTV 57 = 1: 0110");
    EXPECT_EQ(outcome(mask("0 255 255 0")), "PTV 57 = 255: 0110");
    EXPECT_EQ(outcome(mask("0 2 2 0")), "label 2 = 2: 0110");
    EXPECT_EQ(outcome(mask("0 1 255 0")), "label 1 = 1: 0100; label 255 = 255: 0010");
    EXPECT_EQ(outcome(mask("0 254 254 0")), "label 254 = 254: 0110");
    EXPECT_EQ(outcome(mask("0 1 2 0")), "label 1 = 1: 0100; label 2 = 2: 0010");
    EXPECT_EQ(outcome(mask("0 16777215 2.0 -0", "", "double")),
              "label 2 = 2: 0010; label 16777215 = 16777215: 0100");
    const auto set = read(mask("0 3 7 3"));
    ASSERT_TRUE(set);
    EXPECT_EQ(set->format, "NRRD");
    EXPECT_TRUE(set->warnings.empty());
    const files::Geometry& grid = set->structures[0].region->grid->geometry;
    EXPECT_EQ(grid.size, (std::array<int, 3>{2, 2, 1}));
    EXPECT_EQ(grid.spacing, (files::Vec3{2, 3, 4}));
    EXPECT_EQ(grid.origin, (files::Vec3{1, 2, 3}));
    EXPECT_EQ(set->structures[0].region->grid, set->structures[1].region->grid);
}

TEST(LabelMask, OtherAxesAreTurned)
{
    string turned = mask("0 3 7 3");
    turned.replace(turned.find("LPS"), 3, "RPS");
    EXPECT_EQ(outcome(turned), "label 3 = 3: 1010; label 7 = 7: 0001");
}

TEST(LabelMask, NothingInItIsStillToldOf)
{
    const auto set = read(mask("0 0 0 0"));
    ASSERT_TRUE(set);
    ASSERT_EQ(set->structures.size(), 1U);
    EXPECT_EQ(set->structures[0].name, "PTV 57");
    EXPECT_EQ(set->warnings, std::vector<string>{"has no label but 0, which is no structure"});
}

TEST(LabelMask, ValuesThatAreNoLabels)
{
    const string ending = " (labels are whole numbers from 0 to 16 777 215)";
    for (const auto& [value, told] :
         std::vector<std::pair<string, string>>{{"0.25", "0.25"},
                                                {"-1", "-1"},
                                                {"16777216", "16777216"},
                                                {"4e9", "4e+09"},
                                                {"inf", "inf"},
                                                {"nan", "nan"}}) {
        string sentence = "is no label mask: it has a value of ";
        sentence.append(told).append(ending);
        EXPECT_EQ(outcome(mask("0 1 2 " + value, "", "double")), sentence);
    }
    string many;
    for (int i = 0; i <= 10001; ++i) {
        many.append(std::to_string(i)).append(" ");
    }
    EXPECT_EQ(outcome(nrrd("10002 1 1", inSpace, many)),
              "is no label mask: it has more than 10 000 different values");
}

TEST(LabelMask, SegmentsHaveNames)
{
    const string keys = "Segment0_ID:=a\nSegment0_Name:=Brain stem\nSegment0_LabelValue:=3\n"
                        "Segment0_Color:=1 0.5 0\nsegment1_id:=b\nSegment1_LabelValue:=5\n";
    EXPECT_EQ(outcome(mask("0 3 7 3", keys)),
              "Brain stem = 3: 0101; b = 5: 0000; label 7 = 7: 0010");
    const auto set = read(mask("0 3 7 3", keys));
    EXPECT_EQ(set->structures[0].colour, (std::array<std::uint8_t, 3>{255, 128, 0}));
    EXPECT_FALSE(set->structures[1].colour);
    EXPECT_EQ(outcome(mask("0 1 1 0", "Segment0_Name:=A\n")), "A = 1: 0110");
    EXPECT_EQ(outcome(mask("0 1 2 0", "Segment0_Name:=A\nSegment1_LabelValue:=2\n"
                                      "Segment1_Name:=A\n")),
              "A (1) = 1: 0100; A (2) = 2: 0010");
    const std::vector<std::pair<string, string>> refused = {
        {"Segment0_LabelValue:=0", "its header gives a label of a segment of \"0\""},
        {"Segment0_LabelValue:=x", "its header gives a label of a segment of \"x\""},
        {"Segment0_ID:=a\nSegment0_Layer:=1", "its header gives a layer of a segment of \"1\""},
        {"Segment0_ID:=a\nSegment0_Color:=2 0 0", "a colour of a segment of \"2 0 0\""},
        {"Segment0_ID:=a\nSegment0_ID:=b", "its header gives \"segment0_id\" twice"},
    };
    for (const auto& [entry, sentence] : refused) {
        const string told = outcome(mask("0 1 1 0", entry + "\n"));
        EXPECT_NE(told.find(sentence), string::npos) << told;
    }
}

TEST(LabelMask, NamesAreInUtf8)
{
    EXPECT_EQ(outcome(mask("0 1 1 0", "Segment0_Name:=R\xC3\xBC"
                                      "ck\n")),
              "R\xC3\xBC"
              "ck = 1: 0110");
    const auto set = read(mask("0 1 1 0", "Segment0_Name:=R\xFC"
                                          "ck\x9B\n"));
    ASSERT_TRUE(set);
    EXPECT_EQ(set->structures[0].name, "R\xC3\xBC"
                                       "ck\xEF\xBF\xBD");
    EXPECT_EQ(set->warnings,
              std::vector<string>{"has names that are not in UTF-8; they are taken as Latin-1"});
    const auto named = read(mask("0 255 255 0"), "folder/R\xFC"
                                                 "ck.nrrd");
    ASSERT_TRUE(named);
    EXPECT_EQ(named->structures[0].name, "R\xC3\xBC"
                                         "ck");
}

TEST(LabelMask, Layers)
{
    const string values = "1 0  2 1  0 1  1 1"; // first layer 1 2 0 1, second one 0 1 1 1
    EXPECT_EQ(
        outcome(layers(values, "")),
        "label 1 of layer 1 = 1: 1001; label 2 of layer 1 = 2: 0100; label 1 of layer 2 = 1: 0111");
    const string keys = "Segment0_Name:=A\nSegment0_LabelValue:=2\nSegment0_Layer:=0\n"
                        "Segment1_Name:=B\nSegment1_LabelValue:=1\nSegment1_Layer:=1\n"
                        "Segment2_Name:=C\nSegment2_LabelValue:=1\nSegment2_Layer:=0\n";
    EXPECT_EQ(outcome(layers(values, keys)), "A = 2: 0100; B = 1: 0111; C = 1: 1001");
    // Older writers: a layer for each segment.
    EXPECT_EQ(outcome(layers("1 0  0 1  0 1  1 1", "Segment0_Name:=A\nSegment1_Name:=B\n")),
              "A = 1: 1001; B = 1: 0111");
    EXPECT_EQ(outcome(layers("0 0 0 0 0 0 0 0", "")), "has no label but 0, which is no structure");
    EXPECT_EQ(outcome(layers("0 0 0 0 0 0 0 0", "Segment0_ID:=A\n")), "A = 1: 0000");
    EXPECT_EQ(outcome(layers(values, "", "3-color domain domain domain")),
              "has 2 values per voxel instead of one dose");
    EXPECT_EQ(
        outcome(nrrd("2 1 2 2",
                     "kinds: domain domain domain list\nspace: LPS\nspace origin: (0,0,0)\n"
                     "space directions: (2,0,0) (0,3,0) (0,0,4) none\n",
                     "1 2 0 1 0 3 3 3")),
        "label 1 of layer 1 = 1: 1001; label 2 of layer 1 = 2: 0100; label 3 of layer 2 = 3: 0111");
    EXPECT_EQ(outcome(nrrd("2 2 2", "kinds: list domain domain\n" + inSpace, "1 1 1 1 1 1 1 1")),
              "is not three-dimensional but 2-dimensional");
    EXPECT_EQ(outcome(nrrd("20000 1 1 1",
                           "kinds: list domain domain domain\nspace: LPS\nspace origin: (0,0,0)\n"
                           "space directions: none (2,0,0) (0,3,0) (0,0,4)\n",
                           "1")),
              "its grid has 20000 layers");
}

TEST(LabelMask, NamesOfFiles)
{
    const std::vector<std::pair<string, string>> table = {
        {"a/b/PTV 57.nii.gz", "PTV 57"},
        {"Brain.SEG.NRRD", "Brain"},
        {"x.y.mha", "x.y"},
        {"cord.hdr", "cord"},
        {".nii", ".nii"},
        {"none", "none"},
    };
    for (const auto& [file, name] : table) {
        EXPECT_EQ(files::structureNameOf(file), name);
    }
}

} // namespace
