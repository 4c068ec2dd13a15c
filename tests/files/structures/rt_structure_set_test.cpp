/** DICOM RT Structure Sets, read from bytes that are put together here element by element. */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "files/error.h"
#include "files/structures/contourNotes.h"
#include "files/structures/readStructures.h"
#include "files/structures/writeStructureSet.h"
#include "tests/files/dicomBytes.h"

namespace
{

using namespace dicomBytes;
using files::Result;
using files::Structure;
using files::StructureSet;
using std::string;

const string square = "0\\0\\5\\10\\0\\5\\10\\10\\5\\0\\10\\5";

/** Writes elements in one syntax, sequences with or without their lengths. */
struct Writer {
    DicomSyntax syntax;
    bool isOpen = false;

    string element(std::uint32_t tag, const string& type, const string& value) const
    {
        return dicomBytes::element(tag, type, value, syntax);
    }

    string sequence(std::uint32_t tag, const std::vector<string>& items) const
    {
        string content;
        for (const string& value : items) {
            content += isOpen ? head(0xFFFEE000, "", open, syntax) + value +
                                    head(0xFFFEE00D, "", 0, syntax)
                              : item(value, syntax);
        }
        return isOpen ? head(tag, "SQ", open, syntax) + content + head(0xFFFEE0DD, "", 0, syntax)
                      : head(tag, "SQ", content.size(), syntax) + content;
    }

    string contour(const string& type, const string& data, const string& more = "") const
    {
        return (type.empty() ? "" : element(0x30060042, "CS", type)) + more +
               element(0x30060050, data.size() < 0xFFF0 ? "DS" : "UN", data);
    }

    string roi(const string& number, const string& name) const
    {
        return element(0x30060022, "IS", number) + element(0x30060024, "UI", "1.2.3") +
               element(0x30060026, "LO", name);
    }

    string contours(const string& number, const std::vector<string>& items,
                    const string& colour = "255\\0\\128") const
    {
        return element(0x3006002A, "IS", colour) + sequence(0x30060040, items) +
               element(0x30060084, "IS", number);
    }

    string data(const std::vector<string>& rois, const std::vector<string>& roiContours,
                const std::vector<string>& observations = {}) const
    {
        return element(0x00080018, "UI", "1.2.4") + element(0x00080060, "CS", "RTSTRUCT") +
               element(0x00100010, "PN", "Secret^Patient") + element(0x30060002, "SH", "Plan") +
               sequence(0x30060020, rois) + sequence(0x30060039, roiContours) +
               sequence(0x30060080, observations);
    }

    /** A square called PTV, of the type and the colour of one. */
    string plainData() const
    {
        const string observation =
            element(0x30060084, "IS", "7") + element(0x300600A4, "CS", "PTV");
        return data({roi("7", "PTV")}, {contours("7", {contour("CLOSED_PLANAR", square)})},
                    {observation});
    }
};

string file(const string& data, const string& transferSyntax = explicitLittle)
{
    return preamble() + meta(transferSyntax) + data;
}

Result<StructureSet> read(const string& bytes)
{
    const auto find = [](const string&) -> Result<files::Bytes> {
        return files::FileError{files::FileError::Kind::damaged, "its data file is missing"};
    };
    return files::readStructures(view(bytes), "set.dcm", find, {nativeDeflate()});
}

/** The structures, each with what it has: "PTV 7 PTV 1x4 #ff0080". */
string outcome(const string& bytes)
{
    const auto set = read(bytes);
    if (!set) {
        return set.error().sentence;
    }
    string text;
    for (const Structure& structure : set->structures) {
        text += text.empty() ? "" : "; ";
        text += structure.name + " " + std::to_string(structure.number) + " " + structure.type;
        for (const files::Contour& contour : structure.contours) {
            text += ' ';
            text += std::to_string(contour.vertices.size());
        }
        text += structure.refusal.empty() ? "" : " " + structure.refusal;
    }
    return text;
}

/** One structure with contours: what becomes of it. */
string outcomeOf(const std::vector<string>& contours)
{
    const Writer writer;
    return outcome(file(writer.data({writer.roi("1", "A")}, {writer.contours("1", contours)})));
}

TEST(RtStructureSet, SyntaxesGiveTheSameStructures)
{
    const Writer plain;
    const Writer openEnds{{}, true};
    const Writer implicit{{false, false}};
    const Writer openImplicit{{false, false}, true};
    const Writer big{{true, true}, true};
    const std::vector<std::pair<const char*, string>> table = {
        {"explicit", file(plain.plainData())},
        {"open sequences", file(openEnds.plainData())},
        {"implicit", file(implicit.plainData(), implicitLittle)},
        {"implicit with open sequences", file(openImplicit.plainData(), implicitLittle)},
        {"big endian", file(big.plainData(), explicitBig)},
        {"no meta information", plain.plainData()},
        {"deflated", deflatedFile(plain.plainData())},
        {"gzip", gzipped(file(plain.plainData()))},
        {"gzip of deflated", gzipped(deflatedFile(plain.plainData()))},
    };
    for (const auto& [name, bytes] : table) {
        const auto set = read(bytes);
        ASSERT_TRUE(set) << name << ": " << set.error().sentence;
        EXPECT_EQ(set->label, "Plan") << name;
        EXPECT_EQ(set->sopInstance, "1.2.4") << name;
        ASSERT_EQ(outcome(bytes), "PTV 7 PTV 4") << name;
        const Structure& structure = set->structures[0];
        EXPECT_EQ(structure.contours[0].vertices[2], (files::Vec3{10, 10, 5})) << name;
        EXPECT_EQ(structure.frameOfReference, "1.2.3") << name;
        EXPECT_EQ(structure.colour, (std::array<std::uint8_t, 3>{255, 0, 128})) << name;
        EXPECT_TRUE(set->warnings.empty()) << name;
        EXPECT_TRUE(files::isStructureSet(view(bytes), nativeDeflate())) << name;
    }
    // A sequence of a type that its writer did not know is written like the implicit syntax.
    string unknown = file(plain.data({plain.roi("7", "PTV")}, {}));
    const string content =
        item(implicit.contours("7", {implicit.contour("CLOSED_PLANAR", square)}), implicit.syntax);
    unknown = file(element(0x00080060, "CS", "RTSTRUCT") +
                   plain.sequence(0x30060020, {plain.roi("7", "PTV")}) +
                   head(0x30060039, "UN", content.size()) + content);
    EXPECT_EQ(outcome(unknown), "PTV 7  4");
}

TEST(RtStructureSet, WrittenCoordinates)
{
    const Writer w;
    for (const char* data : {"0\\0\\5\\10\\0\\5\\10\\10\\5", "0\\0\\5\\10\\0\\5\\10\\10\\5\\",
                             " +0 \\ 0\\5.0\\1e1\\0\\ 5\\ 1.0E+1\\100e-1\\.5e1 ",
                             "0\\-0\\5\\10\\0\\5\\10\\10\\5\\ "}) {
        const auto set = read(
            file(w.data({w.roi("1", "A")}, {w.contours("1", {w.contour("CLOSED_PLANAR", data)})})));
        ASSERT_TRUE(set);
        ASSERT_EQ(set->structures[0].refusal, "") << data;
        const auto& vertices = set->structures[0].contours[0].vertices;
        EXPECT_EQ(vertices, (std::vector<files::Vec3>{{0, 0, 5}, {10, 0, 5}, {10, 10, 5}})) << data;
    }
}

TEST(RtStructureSet, ContoursThatRefuseTheirStructure)
{
    const Writer w;
    const auto closed = [&w](const string& data, const string& more = "") {
        return w.contour("CLOSED_PLANAR", data, more);
    };
    const string a = "0\\0\\5\\10\\0\\5\\";
    const std::vector<std::pair<string, string>> table = {
        {closed(a + "10\\10"), "has a contour with 8 coordinates, which are no whole points"},
        {closed(a + "1\\2\\3\\\\"), "has a contour with 10 coordinates"},
        {closed(a + "1\\\\5"), "has a Contour Data with \"\" in it"},
        {closed(a + "1\\x\\5"), "has a Contour Data with \"x\" in it"},
        {closed(a + "1\\2,5\\5"), "has a Contour Data with \"2,5\" in it"},
        {closed(a + "1\\nan\\5"), "has a Contour Data with \"nan\" in it"},
        {closed(a + "1\\1e999\\5"), "has a Contour Data with \"1e999\" in it"},
        {closed(a + "1\\1000001\\5"), "has a contour with a coordinate of 1000001 mm"},
        {closed(a + "1\\1\\5.2"), "it is 0.2 mm high"},
        {closed(a + "1\\1\\5", element(0x30060046, "IS", "4")), "3 points that tells 4"},
        {closed(a + "1\\1\\5", element(0x30060046, "IS", "x")), "a Number of Contour Points with"},
        {closed(a + "1\\1\\5") + w.element(0x30060050, "DS", square), "gives Contour Data twice"},
        {w.contour("", square), "has a contour that does not tell its Contour Geometric Type"},
        {w.contour("SPHERE", square), "has a contour of the unknown type \"SPHERE\""},
    };
    for (const auto& [contour, sentence] : table) {
        const string told = outcomeOf({closed(square), contour, closed(square)});
        EXPECT_NE(told.find(sentence), string::npos) << told << "\n" << sentence;
        EXPECT_TRUE(told.starts_with("A 1  ") && told.ends_with(" (contour 2)")) << told;
    }
    EXPECT_EQ(outcomeOf({closed("0\\0\\20\\10\\0\\20.1\\10\\10\\20")}), "A 1  3"); // just flat
    EXPECT_EQ(outcomeOf({closed("0\\0\\-1e6\\1e6\\0\\-1e6\\10\\10\\-1e6")}), "A 1  3");
    EXPECT_EQ(outcomeOf({closed(square, element(0x30060046, "IS", ""))}), "A 1  4");
    const string both = outcome(
        file(w.data({w.roi("1", "A"), w.roi("2", "B")}, {w.contours("1", {w.contour("", square)}),
                                                         w.contours("2", {closed(square)})})));
    EXPECT_TRUE(both.ends_with("; B 2  4")) << both;
}

TEST(RtStructureSet, ContoursLeftOutAreCounted)
{
    const Writer w;
    const std::vector<string> contours = {w.contour("POINT", "1\\2\\3"),
                                          w.contour("OPEN_PLANAR", square),
                                          w.contour("OPEN_NONPLANAR", square),
                                          w.contour("CLOSED_PLANAR", "1\\2\\3\\4\\5\\3"),
                                          w.contour("CLOSED_PLANAR", ""),
                                          w.contour("CLOSEDPLANAR_XOR", square),
                                          w.element(0x30060042, "CS", "CLOSED_PLANAR")};
    const auto set =
        read(file(w.data({w.roi("1", "A"), w.roi("2", "none")}, {w.contours("1", contours)})));
    ASSERT_TRUE(set);
    const Structure& structure = set->structures[0];
    EXPECT_EQ(structure.leftOut.points, 1U);
    EXPECT_EQ(structure.leftOut.open, 2U);
    EXPECT_EQ(structure.leftOut.few, 3U);
    EXPECT_EQ(structure.contours.size(), 1U);
    EXPECT_EQ(files::contourNotes(structure),
              std::vector<string>{"1 point, 2 open contours, 3 contours of fewer than three "
                                  "vertices left out, without an inside"});
    EXPECT_EQ(files::contourNotes(set->structures[1]),
              std::vector<string>{"has no contours, and so no volume"});
}

TEST(RtStructureSet, NamesAndReferences)
{
    const Writer w;
    const std::vector<string> one = {w.contour("CLOSED_PLANAR", square)};
    const auto names = [&w](const std::vector<std::pair<string, string>>& rois) {
        std::vector<string> items;
        for (const auto& [number, name] : rois) {
            items.push_back(w.roi(number, name));
        }
        string text;
        const auto set = read(file(w.data(items, {})));
        for (const Structure& structure : set ? set->structures : std::vector<Structure>()) {
            text += structure.name + "|";
        }
        return set ? text : set.error().sentence;
    };
    EXPECT_EQ(names({{"1", "PTV"}, {"2", "GTV"}, {"3", "PTV "}}), "PTV (1)|GTV|PTV (3)|");
    EXPECT_EQ(names({{"1", ""}, {"-2", " "}}), "ROI 1|ROI -2|");
    EXPECT_EQ(names({{"1", "A"}, {"2", "A"}, {"3", "A (1)"}}), "A (1, 2)|A (2)|A (1)|");
    EXPECT_EQ(names({{"1", "A"}, {"1", "B"}}), "has two structures of the ROI Number 1");
    EXPECT_EQ(names({{"1.5", "A"}}), "has a ROI Number of 1.5");
    EXPECT_EQ(names({{"", "A"}}), "has no ROI Number");
    EXPECT_EQ(names({}), "is an RT Structure Set without structures");
    EXPECT_EQ(names({{"1", "two\nlines"}}), "two lines|");

    const auto set = read(
        file(w.data({w.roi("1", "A")}, {w.contours("1", one), w.contours("9", one),
                                        w.contours("1", one, "0\\0\\256"), w.contours("8", one)})));
    ASSERT_TRUE(set);
    EXPECT_EQ(set->structures[0].contours.size(), 2U);
    EXPECT_FALSE(set->structures[0].colour);
    EXPECT_EQ(set->warnings,
              (std::vector<string>{
                  "has contours of ROI numbers that it does not define (8, 9); they are left out",
                  "has the contours of ROI numbers in several places (1); all of them are taken",
                  "has display colours that are none (left without one: 1)"}));
}

TEST(RtStructureSet, WhatIsWrittenIsReadAgain)
{
    StructureSet set;
    set.sopInstance = "1.2.3";
    set.label = "Pl\xC3\xA4ne";
    for (const string name : {"R\xC3\xBC"
                              "ckenmark",
                              "\xE8\x84\x8A\xE9\xAB\x84", "a^b=c"}) {
        Structure structure;
        structure.name = name;
        structure.number = static_cast<int>(set.structures.size());
        set.structures.push_back(structure);
    }
    const auto bytes = files::encodeStructureSet(set);
    ASSERT_TRUE(bytes);
    const auto again = read(string(files::asText(bytes->view())));
    ASSERT_TRUE(again);
    EXPECT_EQ(again->label, set.label);
    EXPECT_TRUE(again->warnings.empty());
    for (std::size_t i = 0; i < set.structures.size(); ++i) {
        EXPECT_EQ(again->structures[i].name, set.structures[i].name);
    }
}

TEST(RtStructureSet, FrameOfReferenceOfTheFile)
{
    const Writer w;
    const string roi = element(0x30060022, "IS", "1") + element(0x30060026, "LO", "A");
    const auto frameOf = [&](const string& elements) {
        const auto set = read(
            file(element(0x00080060, "CS", "RTSTRUCT") + elements + w.sequence(0x30060020, {roi})));
        return set ? set->structures[0].frameOfReference : set.error().sentence;
    };
    const string frame = element(0x00200052, "UI", "1.2");
    const string other = element(0x00200052, "UI", "1.3");
    EXPECT_EQ(frameOf(""), "");
    EXPECT_EQ(frameOf(frame), "1.2");
    EXPECT_EQ(frameOf(w.sequence(0x30060010, {frame})), "1.2");
    EXPECT_EQ(frameOf(w.sequence(0x30060010, {frame, other})), "");
}

TEST(RtStructureSet, OtherObjectsAreNamed)
{
    const auto told = [](const string& elements) { return outcome(file(elements)); };
    EXPECT_EQ(told(element(0x00080060, "CS", "RTDOSE")),
              "is DICOM but no RT Structure Set (modality RTDOSE)");
    EXPECT_EQ(told(element(0x00080060, "CS", "")),
              "is DICOM but no RT Structure Set (modality unknown)");
    for (const string& elements : {element(0x00080060, "CS", "SEG"),
                                   element(0x00080016, "UI", "1.2.840.10008.5.1.4.1.1.66.4")}) {
        EXPECT_TRUE(told(elements).starts_with("is a DICOM Segmentation with a Segmentation Type"));
        EXPECT_TRUE(files::isStructureSet(view(file(elements)), nativeDeflate()));
    }
    EXPECT_FALSE(
        files::isStructureSet(view(file(element(0x00080060, "CS", "RTDOSE"))), nativeDeflate()));
    EXPECT_FALSE(files::isStructureSet(view("NRRD0004\n"), nativeDeflate()));
    EXPECT_FALSE(files::isStructureSet({}, nativeDeflate()));
    EXPECT_EQ(
        outcome("no structures"),
        "is not a file of structures (DICOM RT Structure Set or Segmentation, or a label mask in "
        "NRRD, MetaImage or NIfTI)");
    EXPECT_EQ(outcome(""), "is empty");
}

TEST(RtStructureSet, EveryCutIsRefused)
{
    const string whole = file(Writer().plainData());
    const std::size_t observations = whole.find("\x06\x30\x80" + zero + "SQ");
    ASSERT_NE(observations, string::npos);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const string told = outcome(whole.substr(0, size));
        // Whole but for the sequence of types at the end.
        EXPECT_EQ(told == "PTV 7  4", size == observations) << size << ": " << told;
        EXPECT_NE(told, "PTV 7 PTV 4") << size;
    }
}

TEST(RtStructureSet, UnpacksNoMoreThanStructuresNeed)
{
    const string zeros = element(0x00091010, "UN", string(std::size_t{257} << 20, '\0'));
    EXPECT_EQ(outcome(deflatedFile(Writer().plainData() + zeros)),
              "unpacks to more than the 268 435 456 bytes that it can need");
}

TEST(RtStructureSet, LargeFiles)
{
    const Writer w;
    string data = square;
    while (data.size() < 200000 * 6) {
        data += "\\" + square;
    }
    std::vector<string> rois;
    std::vector<string> contours;
    for (int i = 0; i < 5000; ++i) {
        const string number = std::to_string(i);
        rois.push_back(w.roi(number, "roi " + number));
        contours.push_back(w.contours(number, {}));
    }
    contours[1] = w.contours("1", {w.contour("CLOSED_PLANAR", data)});
    const auto set = read(file(w.data(rois, contours)));
    ASSERT_TRUE(set) << set.error().sentence;
    EXPECT_EQ(set->structures.size(), 5000U);
    EXPECT_GT(set->structures[1].contours[0].vertices.size(), 150000U);
    EXPECT_EQ(set->structures[4999].name, "roi 4999");
}

} // namespace
