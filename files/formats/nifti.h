/**
 * @file niftiHeader.h
 * What the header of a NIfTI file claims, checked before a reader believes it.
 */
#ifndef ZARNGI_CLI_NIFTIHEADER_H
#define ZARNGI_CLI_NIFTIHEADER_H

#include <string>

#include "volumeHeader.h"

namespace cli
{

/**
 * Checks sizes, voxel sizes, units and the position, which must be told, and once only.
 * @throws InputError
 */
VolumeHeader checkNiftiHeader(const std::string& path);

} // namespace cli

#endif
