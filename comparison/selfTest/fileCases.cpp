#include <array>
#include <cstring>

#include "comparison/example/syntheticStructures.h"
#include "comparison/fileDigest.h"
#include "comparison/selfTest/cases.h"
#include "comparison/text.h"
#include "files/encodeVolume.h"
#include "files/readDose.h"
#include "files/structures/readStructures.h"
#include "files/structures/writeStructureSet.h"

namespace zarngi::selftest
{

namespace
{

files::Result<files::Bytes> noOtherFile(const std::string& /*name*/)
{
    return files::FileError{files::FileError::Kind::damaged, "has no file beside it"};
}

std::string textOf(const files::Image& image)
{
    const files::Geometry& grid = image.geometry;
    std::string text;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        text += std::to_string(grid.size[axis]) + " from " + exactNumber(grid.origin[axis]) +
                " by " + exactNumber(grid.spacing[axis]) + " mm, ";
    }
    const auto* const bytes = reinterpret_cast<const unsigned char*>(image.values.data());
    return text + "SHA-256 " +
           digestOf(std::span(bytes, image.values.size() * sizeof(float))).sha256;
}

std::string readText(files::ByteView file, const std::string& name, const files::Deflate& deflate)
{
    const auto dose = files::readDose(file, name, noOtherFile, {deflate});
    return dose ? textOf(dose->image) : "refused: it " + dose.error().sentence;
}

/** Numbers of all sizes that every format keeps, on a grid with three different axes. */
files::Image sample()
{
    files::LargeVector<float> values;
    for (int i = 0; i < 60; ++i) {
        values.push_back(static_cast<float>(i) * 0.37F + 1 / (1 + static_cast<float>(i)));
    }
    return {{{5, 4, 3}, {2, 1.5, 3}, {-4, 7.5, 100}}, std::move(values)};
}

void addWrittenFiles(Cases& cases, const files::Deflate& deflate)
{
    using files::VolumeFormat;
    const files::Image image = sample();
    const std::array<std::pair<VolumeFormat, const char*>, 4> formats{
        {{VolumeFormat::metaImage, "sample.mha"},
         {VolumeFormat::nrrd, "sample.nrrd"},
         {VolumeFormat::nifti, "sample.nii"},
         {VolumeFormat::packedNifti, "sample.nii.gz"}}};
    for (const auto& [format, name] : formats) {
        const auto bytes = files::encodeImage(format, image, deflate);
        cases.push_back(exactCase("files", std::string(name) + ", written and read", textOf(image),
                                  bytes ? readText(bytes->view(), name, deflate) : "not written"));
    }
}

struct Written {
    const char* name;
    std::string contents;
    files::Image image; ///< that stands in it
};

/** Files as a person would write them. */
std::vector<Written> handwritten()
{
    const files::LargeVector<float> doses{0.5F, 1.25F, 2, 3};
    return {{"written.nrrd",
             "NRRD0004\ntype: float\ndimension: 3\nspace: left-posterior-superior\n"
             "sizes: 2 2 1\nspace directions: (2,0,0) (0,3,0) (0,0,4)\nspace origin: (1,-2,3)\n"
             "encoding: ascii\n\n0.5 1.25\n2 3\n",
             {{{2, 2, 1}, {2, 3, 4}, {1, -2, 3}}, doses}},
            {"written.3ddose", // boundaries in cm
             "4 1 1\n0 0.2 0.4 0.6 0.8\n-0.1 0.1\n1 1.4\n0.5 1.25 2 3\n0 0 0 0\n",
             {{{4, 1, 1}, {2, 2, 4}, {1, 0, 12}}, doses}}};
}

std::string namesOf(const files::StructureSet& set)
{
    std::string text;
    for (const files::Structure& structure : set.structures) {
        text += structure.name + ": " + std::to_string(structure.contours.size()) + " contours; ";
    }
    return text;
}

void addStructures(Cases& cases, const files::Deflate& deflate)
{
    const files::StructureSet set = syntheticStructures();
    const auto bytes = files::encodeStructureSet(set);
    std::string found = "not written";
    if (bytes) {
        const auto read =
            files::readStructures(bytes->view(), "structures.dcm", noOtherFile, {deflate});
        found = read ? namesOf(*read) : "refused: it " + read.error().sentence;
    }
    cases.push_back(
        exactCase("files", "RT Structure Set, written and read", namesOf(set), std::move(found)));
}

} // namespace

Cases fileCases(const files::Deflate& deflate)
{
    Cases cases;
    addWrittenFiles(cases, deflate);
    for (const Written& file : handwritten()) {
        const auto* const bytes = reinterpret_cast<const unsigned char*>(file.contents.data());
        cases.push_back(exactCase("files", std::string(file.name) + ", as it stands here",
                                  textOf(file.image),
                                  readText({bytes, file.contents.size()}, file.name, deflate)));
    }
    addStructures(cases, deflate);
    return cases;
}

} // namespace zarngi::selftest
