/**
 * @file storedValues.h
 * The values of a volume file, read with every checksum and length verified.
 */
#ifndef ZARNGI_CLI_STOREDVALUES_H
#define ZARNGI_CLI_STOREDVALUES_H

#include <cstdint>
#include <string>
#include <vector>

namespace cli
{

/** How one value is written. */
struct ValueFormat {
    enum class Kind { unsignedInteger, signedInteger, floatingPoint };

    Kind kind = Kind::floatingPoint;
    unsigned bytes = 4; ///< 1, 2, 4 or 8; of a floating-point number 4 or 8
    bool isBigEndian = false;
};

/** Where a file keeps its values and how many bytes there are. */
struct StoredData {
    enum class Compression { none, deflated, wholeFile };

    std::string path;             ///< of the file that holds them
    std::uintmax_t fileBytes = 0; ///< of that file
    /** Of the first value; with Compression::wholeFile in the unzipped file. */
    std::uintmax_t position = 0;
    bool isAtEnd = false; ///< instead of the position: the last bytes of the file
    Compression compression = Compression::none;
    double slope = 1; ///< dose = slope * value + intercept
    double intercept = 0;
};

/** Data without compression from the position of a file on. @throws InputError when it is missing.
 */
StoredData dataIn(const std::string& path, std::uintmax_t position);

/**
 * Reads `count` values.
 * @throws InputError when the file is too short to hold them or its compressed data is damaged;
 *         before any memory is allocated for values that cannot be there.
 */
std::vector<float> readStoredValues(const StoredData& data, const ValueFormat& format,
                                    std::uintmax_t count);

} // namespace cli

#endif
