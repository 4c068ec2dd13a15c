/**
 * @file topasHead.h
 * What stands above the table of a TOPAS scorer, or beside its binary values.
 */
#ifndef ZARNGI_FILES_SIMULATIONS_TOPASHEAD_H
#define ZARNGI_FILES_SIMULATIONS_TOPASHEAD_H

#include <optional>
#include <string>

#include "files/bytes.h"
#include "files/orientation.h"

namespace files
{

/** Where the statistics stand among those of a bin. */
struct TopasStatistics {
    std::optional<std::size_t> sum;  ///< of all histories
    std::optional<std::size_t> mean; ///< of a history
    std::optional<std::size_t> histories;
    std::optional<std::size_t> deviation; ///< standard deviation of single histories
    std::size_t count = 0;                ///< of all there are
};

struct TopasHead {
    StoredGeometry grid; ///< about its middle, in the axes of the component
    TopasStatistics statistics;
    bool isSparse = false;       ///< bins may be left out, which hold 0
    bool hasSingleIndex = false; ///< else one for each axis
    std::string binaryName;      ///< of the file with the values; empty: they follow as text
    std::size_t length = 0;      ///< bytes
    std::size_t lines = 0;
};

/** @throws Refusal by name where it is no dose in bins along X, Y and Z. */
TopasHead readTopasHead(ByteView file);

} // namespace files

#endif
