#include "realGrids.h"

#include <gdcmAttribute.h>
#include <gdcmImageReader.h>
#include <itkImageFileReader.h>
#include <itkImageRegionConstIterator.h>
#include <itkNrrdImageIO.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace
{

/** Takes over one axis; the origin of an image is the centre of its first voxel. */
void setAxis(Grid& grid, unsigned axis, std::size_t size, double spacing, double origin)
{
    grid.nn[axis] = static_cast<int>(size);
    grid.hs[axis] = static_cast<float>(spacing);
    grid.x0[axis] = static_cast<float>(origin - spacing / 2);
}

Grid readNrrd(const std::string& path)
{
    using Image = itk::Image<float, 3>;
    const auto reader = itk::ImageFileReader<Image>::New();
    reader->SetFileName(path);
    reader->SetImageIO(itk::NrrdImageIO::New());
    reader->Update();
    const Image::Pointer image = reader->GetOutput();
    const auto region = image->GetLargestPossibleRegion();
    Grid grid;
    for (unsigned a = 0; a < 3; ++a) {
        setAxis(grid, a, region.GetSize(a), image->GetSpacing()[a], image->GetOrigin()[a]);
    }
    for (itk::ImageRegionConstIterator<Image> voxel(image, region); !voxel.IsAtEnd(); ++voxel) {
        grid.map.push_back(voxel.Get());
    }
    return grid;
}

/** Stored 16-bit values times Dose Grid Scaling (3004,000E), which makes them Gy. */
Grid readDicom(const std::string& path)
{
    gdcm::ImageReader reader;
    reader.SetFileName(path.c_str());
    if (!reader.Read()) {
        throw std::runtime_error("cannot read " + path);
    }
    gdcm::Attribute<0x3004, 0x000e> scaling;
    scaling.SetFromDataSet(reader.GetFile().GetDataSet());
    const gdcm::Image& image = reader.GetImage();
    Grid grid;
    for (unsigned a = 0; a < 3; ++a) {
        setAxis(grid, a, image.GetDimension(a), image.GetSpacing(a), image.GetOrigin(a));
    }
    std::vector<std::uint16_t> stored(image.GetBufferLength() / sizeof(std::uint16_t));
    if (image.GetPixelFormat().GetBitsAllocated() != 16 ||
        !image.GetBuffer(reinterpret_cast<char*>(stored.data()))) {
        throw std::runtime_error("no 16-bit doses in " + path);
    }
    std::transform(
        stored.begin(), stored.end(), std::back_inserter(grid.map),
        [&](std::uint16_t value) { return static_cast<float>(value * scaling.GetValue()); });
    return grid;
}

} // namespace

bool haveRealGrids()
{
    return std::filesystem::is_directory(ZARNGI_TEST_DATA);
}

Grid readRealGrid(const std::string& name)
{
    const std::filesystem::path path = std::filesystem::path(ZARNGI_TEST_DATA) / name;
    return path.extension() == ".dcm" ? readDicom(path) : readNrrd(path);
}
