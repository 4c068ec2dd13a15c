/** DICOM RT Dose, read from bytes that are put together here element by element. */
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <numeric>
#include <string>
#include <vector>

#include "files/error.h"
#include "files/formats/dicom/dose.h"
#include "files/formats/dicom/elements.h"
#include "files/formats/dicom/rle.h"
#include "files/nativeDeflate.h"
#include "files/packed.h"
#include "files/toldResult.h"
#include "tests/files/dicomBytes.h"

namespace
{

using namespace files;
using namespace dicomBytes;
using std::string;

struct Entry {
    string type;
    string value;
};

/** A dose of 2 x 3 x 2 voxels of 2 x 3 x 4 mm: 0, 1, ... 11 times 0.5 Gy. */
struct Dose {
    DicomSyntax syntax;
    std::map<std::uint32_t, Entry> elements;

    explicit Dose(DicomSyntax written = {}) : syntax(written)
    {
        elements = {{0x00080060, {"CS", "RTDOSE"}},  {0x00180050, {"DS", "7"}},
                    {0x00200032, {"DS", "1\\2\\3"}}, {0x00200037, {"DS", "1\\0\\0\\0\\1\\0"}},
                    {0x00280008, {"IS", "2"}},       {0x00280030, {"DS", "3\\2"}},
                    {0x30040002, {"CS", "GY"}},      {0x3004000C, {"DS", "0\\4"}},
                    {0x3004000E, {"DS", "0.5"}},     {0x7FE00010, {"OW", ""}}};
        set(0x00280002, 1).set(0x00280010, 3).set(0x00280011, 2).set(0x00280103, 0);
        set(0x00280100, 16).set(0x00280101, 16).set(0x00280102, 15);
        for (unsigned i = 0; i < 12; ++i) {
            elements[0x7FE00010].value += number16(i, syntax.isBigEndian);
        }
    }

    Dose& set(std::uint32_t tag, unsigned value)
    {
        elements[tag] = {"US", number16(value, syntax.isBigEndian)};
        return *this;
    }
    Dose& set(std::uint32_t tag, const string& type, const string& value)
    {
        elements[tag] = {type, value};
        return *this;
    }
    Dose& bits(unsigned allocated, unsigned stored, unsigned highest)
    {
        return set(0x00280100, allocated).set(0x00280101, stored).set(0x00280102, highest);
    }
    Dose& erase(std::uint32_t tag)
    {
        elements.erase(tag);
        return *this;
    }

    string dataSet() const
    {
        string bytes;
        for (const auto& [tag, entry] : elements) {
            bytes += element(tag, entry.type, entry.value, syntax);
        }
        return bytes;
    }
    string file(const string& transferSyntax = explicitLittle) const
    {
        return preamble() + meta(transferSyntax) + dataSet();
    }
    /** With packed pixel data, the first item of which is a table. */
    string packed(const std::vector<string>& items, const string& transferSyntax = runLengths) const
    {
        Dose others = *this;
        string bytes = others.erase(0x7FE00010).file(transferSyntax);
        bytes += head(0x7FE00010, "OB", open);
        for (const string& piece : items) {
            bytes += item(piece);
        }
        return bytes + sequenceEnd;
    }
};

Result<DoseImage> read(const string& file, const Host& host = {nativeDeflate()})
{
    return toldResultOf(
        host, [&] { return readDicomDose(openDicomFile(view(file), host.deflate), host); });
}

/** The doses times two, or the reason why there are none. */
string outcome(const string& file, const Host& host = {nativeDeflate()})
{
    const Result<DoseImage> dose = read(file, host);
    string text;
    for (const float value : dose ? dose->image.values : files::Values()) {
        text += std::to_string(static_cast<int>(value * 2)) + " ";
    }
    return dose ? text : dose.error().sentence;
}

const string good = "0 1 2 3 4 5 6 7 8 9 10 11 ";

/** The header of a frame of run lengths, and its segments. */
string frame(const std::vector<string>& segments)
{
    string bytes = number32(segments.size());
    std::size_t position = 64;
    for (const string& segment : segments) {
        bytes += number32(position);
        position += segment.size();
    }
    bytes.resize(64, '\0');
    return std::accumulate(segments.begin(), segments.end(), bytes);
}

const string firstFrame = frame({"\xFB" + zero + "\x80", "\5" + zero + "\1\2\3\4\5" + zero});
const string secondFrame = frame({"\xFB" + zero, "\1\6\7\3\x08\x09\x0A\x0B"});

TEST(DicomDose, SyntaxesGiveTheSameDoses)
{
    const Dose plain;
    const Dose big({true, true});
    const Dose implicit({false, false});
    const string values = zero + "\1\2\3\4\5\6\7\x08\x09\x0A\x0B";
    const Dose bytes = Dose().bits(8, 8, 7).set(0x7FE00010, "OB", values);
    const Dose bigBytes = Dose({true, true}).bits(8, 8, 7).set(0x7FE00010, "OB", values);
    const string group2 = meta(explicitLittle);
    const std::vector<std::pair<const char*, string>> table = {
        {"explicit", plain.file()},
        {"implicit", implicit.file(implicitLittle)},
        {"big endian", big.file(explicitBig)},
        {"bytes", bytes.file()},
        {"bytes in big endian", bigBytes.file(explicitBig)},
        {"no preamble", group2 + plain.dataSet()},
        {"no meta information", plain.dataSet()},
        {"no meta information, implicit", implicit.dataSet()},
        {"no meta information, big endian", big.dataSet()},
        {"deflated", deflatedFile(plain.dataSet())},
        {"deflated by GDCM", preamble() + meta(deflated) + gzipped(plain.dataSet()).substr(10)},
        {"gzip", gzipped(plain.file())},
        {"gzip of deflated", gzipped(deflatedFile(plain.dataSet()))},
        {"run lengths", plain.packed({"", firstFrame, secondFrame})},
        {"untold bits", Dose(plain).erase(0x00280101).erase(0x00280102).file()},
        {"12 bits stored", Dose(plain).bits(16, 12, 11).file()},
    };
    for (const auto& [name, file] : table) {
        EXPECT_EQ(outcome(file), good) << name;
    }
}

TEST(DicomDose, ValuesOf32BitsStayInTheBlockOfTheirFile)
{
    Dose dose;
    dose.bits(32, 32, 31).set(0x00280010, 60).set(0x00280011, 20);
    string values;
    for (std::size_t i = 0; i < 2400; ++i) {
        values += number32(i);
    }
    const string file = dose.set(0x7FE00010, "OW", values).set(0x3004000A, "CS", "PLAN").file();
    const Host host{nativeDeflate()};
    const Result<DoseImage> lent = read(file);
    ASSERT_TRUE(lent);
    Bytes block(file.size());
    std::copy(file.begin(), file.end(), block.data());
    const unsigned char* const begin = block.data();
    const DoseImage given = readDicomDose(openDicomFile(Contents(block), host.deflate), host);
    EXPECT_EQ(block.size(), 0U);
    const Values& doses = given.image.values;
    const auto* const first = reinterpret_cast<const unsigned char*>(doses.data());
    EXPECT_TRUE(first >= begin && first < begin + file.size());
    EXPECT_TRUE(std::equal(doses.begin(), doses.end(), lent->image.values.begin(),
                           lent->image.values.end()));
    EXPECT_EQ(doses[2399], 1199.5F);
    EXPECT_EQ(given.dicom->summationType, "PLAN");
    EXPECT_EQ(given.image.geometry.origin, lent->image.geometry.origin);
    EXPECT_EQ(given.image.geometry.spacing, lent->image.geometry.spacing);
}

TEST(DicomDose, Geometry)
{
    const auto dose = read(Dose().file());
    ASSERT_TRUE(dose);
    EXPECT_EQ(dose->image.geometry.size, (std::array<int, 3>{2, 3, 2}));
    EXPECT_EQ(dose->image.geometry.spacing, (Vec3{2, 3, 4}));
    EXPECT_EQ(dose->image.geometry.origin, (Vec3{1, 2, 3}));
    EXPECT_EQ(outcome(Dose().set(0x3004000C, "DS", "3\\-1").file()), "6 7 8 9 10 11 0 1 2 3 4 5 ");
    EXPECT_EQ(outcome(Dose().set(0x00280103, 1).file()), good);
    const auto relative = read(Dose().set(0x30040002, "CS", "RELATIVE").file());
    EXPECT_TRUE(relative && relative->unit == files::DoseUnit::relative);
}

TEST(DicomDose, OneFrameIsAPlaneAsThickAsItTells)
{
    Dose single;
    single.erase(0x00280008).set(0x00280010, 6);
    for (const char* offsets : {"", "0", "3", "0\\"}) {
        const auto dose = read(Dose(single).set(0x3004000C, "DS", offsets).file());
        ASSERT_TRUE(dose) << offsets << dose.error().sentence;
        EXPECT_TRUE(dose->isPlane() && !dose->hasVolume()) << offsets;
        EXPECT_EQ(dose->image.geometry.spacing[2], 7) << offsets;
    }
    EXPECT_TRUE(read(Dose().file())->hasVolume());
    single.erase(0x3004000C);
    const std::array<const char*, 3> across{"0\\1\\0\\0\\0\\-1", "1\\0\\0\\0\\0\\1",
                                            "1\\0\\0\\0\\1\\0"};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const auto plane = read(Dose(single).set(0x00200037, "DS", across[axis]).file());
        ASSERT_TRUE(plane) << plane.error().sentence;
        EXPECT_EQ(plane->measurement->normal, axis);
        EXPECT_EQ(plane->image.geometry.size[axis], 1);
        EXPECT_EQ(plane->image.geometry.spacing[axis], 7);
    }
    for (const auto& file :
         {Dose(single).erase(0x00180050).file(), single.set(0x00180050, "DS", "").file()}) {
        const auto plane = read(file);
        ASSERT_TRUE(plane) << plane.error().sentence;
        EXPECT_TRUE(plane->isPlane());
        EXPECT_TRUE(plane->measurement->isInSpace);
        EXPECT_EQ(plane->image.geometry.spacing[2], planeThickness);
    }
}

TEST(DicomDose, WrittenNumbers)
{
    for (const char* origin : {"1\\2\\3\\", " +1 \\ 2E0\\3.0 ", "10e-1\\.2e1\\3\\ "}) {
        const auto dose = read(Dose().set(0x00200032, "DS", origin).file());
        ASSERT_TRUE(dose) << origin;
        EXPECT_EQ(dose->image.geometry.origin, (Vec3{1, 2, 3})) << origin;
    }
    for (const char* origin : {"1\\\\3", "1\\2\\3\\\\", "1\\2", "1\\2\\+-3", "1\\2\\1e999",
                               "1\\2\\inf", "1\\2\\3 4", "\\"}) {
        const string sentence = outcome(Dose().set(0x00200032, "DS", origin).file());
        EXPECT_TRUE(sentence.starts_with("has a Image Position")) << origin << ": " << sentence;
    }
    const auto padded = read(Dose().set(0x30040002, "CS", "GY  " + zero + zero).file());
    EXPECT_TRUE(padded);
}

TEST(DicomDose, ContentsThatAreRefused)
{
    const string values = Dose().elements[0x7FE00010].value;
    const auto pixels = [](const string& type, const string& value) {
        return Dose().set(0x7FE00010, type, value).file();
    };
    Dose odd;
    odd.bits(8, 8, 7).set(0x00280010, 1).set(0x00280011, 1).erase(0x00280008).erase(0x3004000C);
    const std::vector<std::pair<string, string>> table = {
        {pixels("OW", values.substr(2)), "is cut short: 22 bytes of dose, not 24"},
        {pixels("OW", values + "ab"), "holds more than its grid: 26 bytes of dose, not 24"},
        {pixels("OF", values), "has a dose grid of type \"OF\""},
        {Dose(odd).set(0x7FE00010, "OB", "abc").file(), "holds more than its grid"},
        {Dose().erase(0x7FE00010).file(), "without a dose grid"},
        {Dose().set(0x00080060, "CS", "CT").file(), "is DICOM but no RT Dose (modality CT)"},
        {Dose().bits(16, 12, 15).file(), "has a High Bit of 15 with 12 Bits Stored"},
        {Dose().bits(16, 17, 16).file(), "has 17 Bits Stored in 16"},
        {Dose().bits(16, 0, 15).file(), "has 0 Bits Stored in 16"},
        {Dose().bits(16, 3, 2).file(), "has values that need more than the 3 bits"},
        {Dose().set(0x00280103, 1).bits(16, 4, 3).file(), "need more than the 4 bits"},
        {Dose().bits(64, 64, 63).file(), "has values of 64 bits"},
        {Dose().set(0x00280103, 2).file(), "has a Pixel Representation of 2"},
        {Dose().set(0x00280002, 3).file(), "has more than one sample per pixel"},
        {Dose().set(0x00280008, "IS", "1.5").file(), "has a Number of Frames of 1.5"},
        {Dose().set(0x00280008, "IS", "2147483647").file(), "2 numbers instead of 2147483647"},
        {Dose().file() + element(0x00280010, "US", number16(3)), "gives Rows twice"},
        {Dose({true, true}).bits(32, 32, 31).set(0x00280011, 1).file(explicitBig),
         "has values of 32 bits as OW in big endian, whose order is ambiguous"},
        {Dose({true, true}).bits(8, 8, 7).file(explicitBig), "8 bits as OW in big endian"},
        {Dose().packed({"", firstFrame, secondFrame}, explicitLittle), "its dose is in pieces"},
        {Dose().file(runLengths), "its packed dose is not in pieces"},
        {Dose().file("1.2.3"), "is written in the transfer syntax \"1.2.3\""},
    };
    for (const auto& [file, sentence] : table) {
        EXPECT_NE(outcome(file).find(sentence), string::npos) << outcome(file) << "\n" << sentence;
    }
    EXPECT_TRUE(read(odd.set(0x7FE00010, "OB", "a").file())); // and a byte of padding
    using Kind = files::FileError::Kind;
    EXPECT_EQ(read(Dose().set(0x00080060, "CS", "CT").file()).error().kind, Kind::foreign);
    EXPECT_EQ(read(Dose().erase(0x7FE00010).file()).error().kind, Kind::notSupported);
    EXPECT_EQ(outcome(Dose().set(0x00280103, 1).bits(16, 5, 4).file()), good);
}

TEST(DicomDose, DamageIsToldFromWhatIsNotRead)
{
    using Kind = files::FileError::Kind;
    const std::vector<std::pair<string, Kind>> table = {
        {Dose().set(0x30040002, "CS", "").file(), Kind::damaged},
        {Dose().set(0x30040002, "CS", "PERCENT").file(), Kind::notSupported},
        {Dose().set(0x30040002, "CS", "GY").file(runLengths), Kind::damaged},
        {Dose().file("1.2.3"), Kind::notSupported},
        {Dose().bits(16, 17, 16).file(), Kind::damaged},
        {Dose().bits(12, 12, 11).file(), Kind::notSupported},
        {Dose().set(0x3004000C, "DS", "0\\a").file(), Kind::damaged},
    };
    for (const auto& [file, kind] : table) {
        EXPECT_EQ(read(file).error().kind, kind) << outcome(file);
    }
}

TEST(DicomDose, EveryCutIsRefused)
{
    Dose small;
    small.elements[0x00081030] = {"LO", "a comment"};
    for (const string& file : {small.file(), deflatedFile(small.dataSet()), gzipped(small.file()),
                               small.packed({"", firstFrame, secondFrame})}) {
        ASSERT_EQ(outcome(file), good);
        for (std::size_t size = 1; size < file.size(); ++size) {
            EXPECT_FALSE(read(file.substr(0, size))) << size << " of " << file.size();
        }
    }
}

TEST(DicomDose, UnpacksNoMoreThanItsGridNeeds)
{
    const string zeros(std::size_t{65} << 20, '\0');
    const string comment = element(0x00091010, "UN", zeros);
    const string behind = element(0x7FE10010, "UN", zeros);
    for (const string& file :
         {gzipped(Dose().file() + behind), deflatedFile(Dose().dataSet() + behind),
          gzipped(comment + Dose().dataSet())}) {
        EXPECT_NE(outcome(file).find("unpacks to more than the"), string::npos) << outcome(file);
    }
    // Some of the grid lies behind the first mebibyte.
    const string early = element(0x00091010, "UN", zeros.substr(0, 3 << 20));
    EXPECT_EQ(outcome(gzipped(preamble() + meta(explicitLittle) + early + Dose().dataSet())), good);
}

TEST(DicomDose, OtherPackingsAreForTheHost)
{
    const string jpeg = "1.2.840.10008.1.2.4.";
    const std::vector<std::pair<string, string>> table = {
        {jpeg + "50", "packed as JPEG, which only the command-line program unpacks; store it "
                      "without compression first (gdcmconv --raw, or dcmdjpeg)"},
        {jpeg + "80", "packed as JPEG-LS,"},
        {jpeg + "90", "packed as JPEG 2000,"},
        {jpeg + "201", "packed as High-Throughput JPEG 2000,"},
        {"1.2.3", "packed in the transfer syntax \"1.2.3\", which is not supported"},
    };
    for (const auto& [syntax, sentence] : table) {
        const string file = Dose().packed({"", "packed"}, syntax);
        EXPECT_NE(outcome(file).find(sentence), string::npos) << outcome(file);
        if (syntax == "1.2.3") {
            continue; // of no family that a host might unpack
        }
        string told;
        const auto unpack = [&](std::size_t less) {
            return [&told, less](ByteView whole, std::size_t size) -> Result<Bytes> {
                told = asText(whole);
                Bytes bytes(size - less);
                std::fill(bytes.buffer().begin(), bytes.buffer().end(),
                          static_cast<unsigned char>(0));
                return bytes;
            };
        };
        EXPECT_EQ(outcome(gzipped(file), {nativeDeflate(), unpack(0)}), "0 0 0 0 0 0 0 0 0 0 0 0 ");
        EXPECT_EQ(told, file);
        EXPECT_NE(outcome(file, {nativeDeflate(), unpack(1)}).find("unpacks to 23 bytes, not 24"),
                  string::npos);
    }
}

TEST(DicomFrames, PiecesBelongToTheFrameThatIsTold)
{
    const string a = firstFrame.substr(0, 66);
    const string b = firstFrame.substr(66);
    const string table = number32(0) + number32(8 + a.size() + 8 + b.size());
    const auto read2 = [](const std::vector<string>& items) {
        return outcome(Dose().packed(items));
    };
    EXPECT_EQ(read2({table, a, b, secondFrame}), good);
    EXPECT_EQ(read2({number32(0) + number32(8 + firstFrame.size()), firstFrame, a, b}),
              "0 1 2 3 4 5 0 1 2 3 4 5 ");
    const std::vector<std::pair<std::vector<string>, string>> damaged = {
        {{"", a, b, secondFrame}, "3 pieces of packed dose for 2 frames, and no table"},
        {{"", firstFrame}, "1 pieces of packed dose for 2 frames"},
        {{}, "0 pieces of packed dose for 2 frames"},
        {{table + "abcd", a, b, secondFrame}, "a table of packed frames of 12 bytes"},
        {{number32(0) + number32(9), a, b, secondFrame}, "places between its pieces"},
        {{number32(0) + number32(0), a, b, secondFrame}, "places between its pieces"},
        {{number32(8 + a.size()) + table.substr(4), a, b, secondFrame}, "between its pieces"},
        {{number32(0) + number32(0xFFFFFFF0), a, b, secondFrame}, "places between its pieces"},
    };
    for (const auto& [items, sentence] : damaged) {
        EXPECT_NE(read2(items).find(sentence), string::npos) << read2(items) << "\n" << sentence;
    }
}

/** One frame of values of some bytes each, or the reason why there is none. */
string unpackedFrame(const string& packed, unsigned bytesPerValue, std::size_t size)
{
    const auto result = resultOf([&] {
        string values(size, '?');
        unpackRleFrame(view(packed), bytesPerValue,
                       {reinterpret_cast<unsigned char*>(values.data()), values.size()});
        return values;
    });
    return result ? *result : result.error().sentence;
}

TEST(Rle, WorkedFrames)
{
    const string packed =
        "\xFE\xAA\x02\x80" + zero + "\x2A\xFD\xAA\x03\x80" + zero + "\x2A\x22\xF7\xAA";
    const string unpacked = "\xAA\xAA\xAA\x80" + zero + "\x2A\xAA\xAA\xAA\xAA\x80" + zero +
                            "\x2A\x22" + string(10, '\xAA');
    for (const string& padding : {string(), zero, zero + zero, string("\x80")}) {
        EXPECT_EQ(unpackedFrame(frame({packed + padding}), 1, 24), unpacked);
    }
    EXPECT_EQ(unpackedFrame(frame({"\1ab",
                                   "\xFF"
                                   "c",
                                   "\1de", "\1fg"}),
                            4, 8),
              "fdcagecb");
    EXPECT_EQ(unpackedFrame(frame({"\x81x"}), 1, 128), string(128, 'x'));
    for (std::size_t size = 0; size < 64 + packed.size(); ++size) {
        EXPECT_NE(unpackedFrame(frame({packed}).substr(0, size), 1, 24).find("is cut short"),
                  string::npos);
    }
}

TEST(Rle, DamagedFrames)
{
    const auto patched = [](std::size_t position, std::size_t value) {
        return frame({"\1ab", "\1cd"}).replace(position, 4, number32(value));
    };
    const std::vector<std::pair<string, string>> table = {
        {frame({"\2abc", "\1cd"}), "holds more than its grid"},
        {frame({"\1ab\1cd", "\1cd"}), "holds more than its grid"},
        {frame({"\xFE"
                "a",
                "\1cd"}),
         "holds more than its grid"},
        {frame({zero + "a", "\1cd"}), "is cut short"},
        {frame({"\x80\x80", "\1cd"}), "is cut short"},
        {frame({"\1ab"}), "has 1 segments instead of 2"},
        {patched(0, 0xFFFFFFFF), "has 4 294 967 295 segments instead of 2"},
        {patched(4, 63), "out of order"},
        {patched(4, 66), "out of order"},
        {patched(8, 64), "out of order"},
        {patched(8, 0xFFFFFFFF), "is cut short"},
    };
    for (const auto& [packed, sentence] : table) {
        EXPECT_NE(unpackedFrame(packed, 2, 4).find(sentence), string::npos)
            << unpackedFrame(packed, 2, 4) << "\n"
            << sentence;
    }
}

string nested(int depth)
{
    const string start = head(0x300C0002, "SQ", open) + head(0xFFFEE000, "", open);
    string bytes;
    for (int i = 0; i < depth; ++i) {
        bytes.insert(0, start);
        bytes += itemEnd;
        bytes += sequenceEnd;
    }
    return bytes;
}

TEST(DicomElements, StructureIsChecked)
{
    const string inner = element(0x30060084, "IS", "1");
    const std::vector<std::pair<string, string>> table = {
        {inner, ""},
        {nested(32), ""},
        {nested(33), "too deep"},
        {head(0x300C0002, "SQ", 8 + inner.size()) + item(inner), ""},
        {head(0x300C0002, "SQ", 7 + inner.size()) + item(inner), "is cut short"},
        {head(0x300C0002, "SQ", 9 + inner.size()) + item(inner) + " ", "is cut short"},
        {head(0x300C0002, "SQ", inner.size()) + inner, "a sequence of DICOM has no end"},
        {head(0x300C0002, "SQ", open) + item(inner), "is cut short"},
        {head(0x300C0002, "SQ", open) + item(inner) + head(0xFFFEE0DD, "", 2), "has a length"},
        {head(0x300C0002, "SQ", open) + head(0xFFFEE000, "", open) + inner + sequenceEnd,
         "is cut short"},
        {item(inner), "an item of DICOM lies outside a sequence"},
        {head(0x00091010, "UN", open) + item(element(0x00091011, "", "ab", {false, false})) +
             sequenceEnd,
         ""},
        {head(0x00091010, "UT", open) + sequenceEnd, "an element of DICOM has no length"},
        {head(0x7FE00010, "OB", open) + head(0xFFFEE000, "", open), "a piece of its compressed"},
        {head(0x7FE00010, "OW", 0xFFFFFFF0), "4 294 967 280 bytes of dose should follow, 0 do"},
        {element(0x00091010, "XX", "ab"), "DICOM has no elements of type \"XX\""},
    };
    for (const auto& [bytes, sentence] : table) {
        const auto result = resultOf([&file = bytes] { return readDicomElements(view(file), {}); });
        const string told = result ? "" : files::told(result.error().sentence, true);
        EXPECT_EQ(told.empty(), sentence.empty()) << told << "\n" << sentence;
        EXPECT_NE(told.find(sentence), string::npos) << told << "\n" << sentence;
    }
    string many;
    for (int i = 0; i < (1 << 20) + 1; ++i) {
        many += head(0x00090010, "", 0, {false, false});
    }
    const auto tooMany = resultOf([&] { return readDicomElements(view(many), {false, false}); });
    ASSERT_FALSE(tooMany);
    EXPECT_NE(tooMany.error().sentence.find("more than 1 048 576 elements"), string::npos);
}

TEST(DicomElements, ItemsCanBeVisited)
{
    constexpr DicomTag sequence{0x30060039, "ROI Contour Sequence"};
    constexpr DicomTag reference{0x30060084, "Referenced ROI Number"};
    const string one = element(reference.number, "IS", "1");
    const string two = nested(2) + element(reference.number, "IS", "2");
    const string toldItems = item(one) + item(two);
    const string openItems =
        head(0xFFFEE000, "", open) + one + itemEnd + head(0xFFFEE000, "", open) + two + itemEnd;
    const std::vector<string> table = {
        head(sequence.number, "SQ", toldItems.size()) + toldItems,
        head(sequence.number, "SQ", open) + toldItems + sequenceEnd,
        head(sequence.number, "SQ", open) + openItems + sequenceEnd,
    };
    for (const string& bytes : table) {
        const DicomDataSet data = readDicomElements(view(bytes), {});
        ASSERT_NE(data.find(sequence), nullptr);
        EXPECT_EQ(data.find(reference), nullptr);
        string told;
        for (const ByteView content : dicomItems(*data.find(sequence))) {
            const DicomDataSet inner = readDicomElements(content, data.find(sequence)->itemSyntax);
            told += asText(inner.find(reference)->value);
        }
        EXPECT_EQ(told, "1 2 ");
    }
}

} // namespace
