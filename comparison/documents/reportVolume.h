/**
 * @file reportVolume.h
 * Volumes as the report page carries them: 16-bit numbers, compressed, in base64.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_REPORTVOLUME_H
#define ZARNGI_COMPARISON_DOCUMENTS_REPORTVOLUME_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "comparison/documents/pagePacking.h"

namespace zarngi
{

/** Decimals of a gamma value in the page. */
constexpr int gammaDecimals = 3;

/** Decimals of a difference in units of its uncertainty. */
constexpr int uncertaintyDecimals = 3;

/** Stands for a value that there is not. */
constexpr std::int16_t notStored = std::numeric_limits<std::int16_t>::min();

/** The most decimals with which a dose of this magnitude still fits 16 bits. */
int doseDecimals(double largestMagnitude);

/** Doses times 10^decimals, rounded. */
std::vector<std::int16_t> storedDoses(std::span<const float> doses, int decimals);

/**
 * Gamma in thousandths, -1 where not tested. A failed voxel never shows a passing gamma: it stores
 * at least 1001, also where its gamma was rounded to 1.
 * @param passed 1, 0, or 255 for each voxel.
 */
std::vector<std::int16_t> storedGammas(std::span<const float> gammas,
                                       std::span<const unsigned char> passed);

/** In thousandths; `notStored` for what is not a number. */
std::vector<std::int16_t> storedDifferences(std::span<const float> differences);

/** Gives `count` stored words, no more and no fewer, from the first of them on. */
using WordsFrom = std::function<std::vector<std::int16_t>(std::size_t first, std::size_t count)>;

/**
 * The low bytes of all words, then the high ones, compressed by zlib, in base64. The words are
 * asked for in turn, as many as a processor keeps near it.
 * @param count of all words
 */
std::string encodedWords(std::size_t count, const WordsFrom& words, const PagePacking& packing);

/** The lowest bytes of all numbers, then the next..., in the same way. */
std::string encodedNumbers(const std::vector<std::int16_t>& stored, const PagePacking& packing);
std::string encodedNumbers(const std::vector<std::int32_t>& stored, const PagePacking& packing);

} // namespace zarngi

#endif
