/**
 * @file reportVolume.h
 * Volumes as the report page carries them: 16-bit numbers, compressed, in base64.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_REPORTVOLUME_H
#define ZARNGI_COMPARISON_DOCUMENTS_REPORTVOLUME_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "comparison/documents/pagePacking.h"

namespace zarngi
{

/** Decimals of a gamma value in the page. */
constexpr int gammaDecimals = 3;

/** The most decimals with which a dose of this magnitude still fits 16 bits. */
int doseDecimals(double largestMagnitude);

/** Doses times 10^decimals, rounded. */
std::vector<std::int16_t> storedDoses(std::span<const float> doses, int decimals);

/**
 * Gamma in thousandths, -1 where not tested. A failed voxel never shows a passing gamma: it stores
 * at least 1001, also where its gamma was rounded to 1.
 * @param passed 1, 0, or 255 for each voxel.
 */
std::vector<std::int16_t> storedGammas(const std::vector<float>& gammas,
                                       const std::vector<unsigned char>& passed);

/** The lowest bytes of all numbers, then the next..., compressed by zlib, in base64. */
std::string encodedNumbers(const std::vector<std::int16_t>& stored, const PagePacking& packing);
std::string encodedNumbers(const std::vector<std::int32_t>& stored, const PagePacking& packing);

} // namespace zarngi

#endif
