/**
 * @file places.h
 * Where the doses of a file lie, as text.
 */
#ifndef ZARNGI_CLI_OUTPUT_PLACES_H
#define ZARNGI_CLI_OUTPUT_PLACES_H

#include <string>

#include "comparison/comparison.h"

namespace zarngi
{

/** "176 x 88 x 136 voxels of 2.5 x 2.5 x 2.5 mm", "131 x 41 places of 5 x 5 mm, 1386 measured". */
std::string describePlaces(const DoseImage& dose);

/** A line about how planes and points are compared; empty for volumes. */
std::string describePlacing(const PlacedDoses& placed);

} // namespace zarngi

#endif
