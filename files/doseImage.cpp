#include "files/doseImage.h"

namespace files
{

DoseImage::DoseImage() = default;
DoseImage::DoseImage(const DoseImage& other) = default;
DoseImage::DoseImage(DoseImage&& other) noexcept = default;
DoseImage& DoseImage::operator=(const DoseImage& other) = default;
DoseImage& DoseImage::operator=(DoseImage&& other) noexcept = default;
DoseImage::~DoseImage() = default;

} // namespace files
