/**
 * @file doseImage.h
 * The doses that files give, by the names that the program uses.
 */
#ifndef ZARNGI_CLI_DOSEIMAGE_H
#define ZARNGI_CLI_DOSEIMAGE_H

#include "files/doseImage.h"

namespace cli
{

using files::DicomIdentity;
using files::DoseImage;
using files::Geometry;
using files::Image;
using files::Vec3;

} // namespace cli

#endif
