/**
 * @file doseImage.h
 * The doses that files give, by the names that the program uses.
 */
#ifndef ZARNGI_COMPARISON_DOSEIMAGE_H
#define ZARNGI_COMPARISON_DOSEIMAGE_H

#include "files/doseImage.h"

namespace zarngi
{

using files::DicomIdentity;
using files::DoseImage;
using files::DoseUnit;
using files::Geometry;
using files::Image;
using files::Vec3;

} // namespace zarngi

#endif
