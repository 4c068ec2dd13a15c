#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <set>

#include "files/error.h"
#include "files/measurements/tableText.h"
#include "files/orientation.h"
#include "files/packed.h"
#include "files/simulations/boundaries.h"
#include "files/simulations/numberWords.h"
#include "files/simulations/simulations.h"
#include "files/text.h"

namespace files
{

namespace
{

using Sizes = std::array<std::int64_t, 3>;

constexpr const char* axisNames = "xyz";

/** The three counts of voxels, or nothing where a text begins with something else. */
std::optional<Sizes> sizesOf(NumberWords& numbers)
{
    Sizes sizes{};
    for (std::int64_t& size : sizes) {
        const std::optional<double> told = numbers.next();
        const bool isCount =
            numbers.word().find_first_not_of("0123456789") == std::string_view::npos;
        if (!told || !isCount || !(*told >= 1 && *told < static_cast<double>(mostVoxels))) {
            return {};
        }
        size = static_cast<std::int64_t>(*told);
    }
    return sizes;
}

double voxelsOf(const Sizes& sizes)
{
    return static_cast<double>(sizes[0]) * static_cast<double>(sizes[1]) *
           static_cast<double>(sizes[2]);
}

/** Whether a list of so many numbers rises or falls, as far as they are there. */
bool isMonotone(NumberWords& numbers, std::int64_t count)
{
    constexpr std::int64_t fewestFalling = 3; // two numbers always do one or the other
    bool rises = true;
    bool falls = count >= fewestFalling;
    double last = 0;
    for (std::int64_t i = 0; i < count && (rises || falls); ++i) {
        const std::optional<double> next = numbers.next();
        if (!next) {
            break;
        }
        rises = rises && (i == 0 || *next > last);
        falls = falls && (i == 0 || *next < last);
        last = *next;
    }
    return rises || falls;
}

/** Whether boundaries follow: three numbers alone are nothing. Takes a copy, to look ahead. */
bool hasBoundaries(NumberWords numbers)
{
    return numbers.next() && numbers.next();
}

/** The beginning without a word that may be cut. */
std::string_view wholeWords(std::string_view beginning)
{
    if (beginning.size() < identifyingBytes) {
        return beginning;
    }
    beginning = beginning.substr(0, identifyingBytes);
    return beginning.substr(0, beginning.find_last_of(" \t\r\n") + 1);
}

/** Whether each line has as many words, of which the first may lack one. */
bool hasColumns(std::string_view text)
{
    std::set<std::size_t> counts; // of all lines but the first
    std::size_t first = 0;
    for (const std::string& line : split(text, '\n')) {
        const std::size_t count = cellsOf(line, Separator::blank).size();
        if (first == 0) {
            first = count;
        } else if (count > 0) {
            counts.insert(count);
        }
    }
    return counts.size() == 1 && (*counts.begin() == first || *counts.begin() == first + 1);
}

/** Whether a short text is a table that happens to begin with rising numbers. */
bool isTableInstead(std::string_view text, const Sizes& sizes, NumberWords& behind)
{
    if (text.size() >= identifyingBytes || !hasColumns(text)) {
        return false;
    }
    const auto there = static_cast<double>(behind.skipRest());
    return there != voxelsOf(sizes) && there != 2 * voxelsOf(sizes);
}

/** The most bytes that the text of a grid can need, for files that are packed. */
std::uint64_t mostBytes(ByteView beginning)
{
    constexpr double perNumber = 64; // with the blanks around it
    NumberWords numbers(wholeWords(asText(beginning)));
    const std::optional<Sizes> sizes = sizesOf(numbers);
    double count = 0;
    if (sizes) {
        for (const std::int64_t size : *sizes) {
            count += static_cast<double>(size + 2); // the count and the boundaries
        }
        count += 2 * std::min(voxelsOf(*sizes), static_cast<double>(mostVoxels));
    }
    return static_cast<std::uint64_t>(perNumber * count);
}

StoredGeometry geometryOf(NumberWords& numbers, const Sizes& sizes)
{
    StoredGeometry stored;
    stored.size = sizes;
    stored.axes = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        Boundaries boundaries(axisNames[axis]);
        for (std::int64_t i = 0; i <= sizes[axis]; ++i) {
            const std::optional<double> boundary = numbers.next();
            if (!boundary) {
                refuseDamaged("is cut short within the boundaries of its voxels");
            }
            boundaries.add(*boundary, numbers.word());
        }
        stored.spacing[axis] = boundaries.spacing();
        stored.origin[axis] = boundaries.firstCentre();
    }
    return stored;
}

[[noreturn]] void refuseCount(const Sizes& sizes, std::uint64_t there)
{
    const auto doses = static_cast<std::uint64_t>(voxelsOf(sizes));
    refuseDamaged("does not fit its grid of " + join(sizes, " x ") + " voxels: " + grouped(doses) +
                  " doses and as many errors are " + grouped(2 * doses) +
                  " numbers, the file has " + grouped(there));
}

LargeVector<float> dosesOf(NumberWords& numbers, const Sizes& sizes)
{
    LargeVector<float> doses(static_cast<std::size_t>(voxelsOf(sizes)));
    for (std::size_t i = 0; i < doses.size(); ++i) {
        const std::optional<double> dose = numbers.next();
        if (!dose) {
            refuseCount(sizes, i);
        }
        doses[i] = static_cast<float>(*dose);
    }
    return doses;
}

/** Reads the relative errors, if there are any. */
class Errors
{
public:
    Errors(DoseImage& dose, bool areKept) : dose_(dose)
    {
        if (areKept) {
            uncertainty_.resize(dose.image.values.size());
        }
    }

    void read(NumberWords& numbers, const Sizes& sizes)
    {
        const std::size_t count = dose_.image.values.size();
        for (std::size_t i = 0; i < count; ++i) {
            const std::optional<double> error = numbers.next();
            if (!error && i == 0) {
                dose_.warnings.emplace_back(
                    "holds doses without their errors; it may be cut short");
                return;
            }
            if (!error) {
                refuseCount(sizes, count + i);
            }
            add(i, *error);
        }
        if (const std::uint64_t more = numbers.skipRest()) {
            refuseCount(sizes, 2 * count + more);
        }
        if (leftOut_ > 0) {
            dose_.warnings.push_back("holds 0 in " + grouped(leftOut_) +
                                     " voxels whose dose its program left out, as too uncertain or "
                                     "in air (error 0.9999999)");
        }
        dose_.uncertainty = std::move(uncertainty_);
    }

private:
    void add(std::size_t i, double error)
    {
        constexpr double largest = 1 + 1e-6; // that of a single history, rounded
        constexpr double leftOut = 0.999999; // written as 0.9999999; 1 where nothing was scored
        if (!(error >= 0 && error <= largest)) {
            refuseDamaged("has an error of " + number(error) +
                          " (accepted: fractions from 0 to 1)");
        }
        const auto dose = static_cast<double>(dose_.image.values[i]);
        leftOut_ += dose == 0 && error > leftOut && error < 1 ? 1 : 0;
        if (!uncertainty_.empty()) {
            uncertainty_[i] = dose == 0 ? std::numeric_limits<float>::quiet_NaN()
                                        : static_cast<float>(std::fabs(dose) * error);
        }
    }

    DoseImage& dose_;
    LargeVector<float> uncertainty_; ///< empty where it is not kept
    std::size_t leftOut_ = 0;        ///< voxels
};

} // namespace

bool startsLikeThreeDdose(std::string_view beginning)
{
    try {
        NumberWords numbers(wholeWords(beginning));
        const std::optional<Sizes> sizes = sizesOf(numbers);
        return sizes && hasBoundaries(numbers) &&
               std::all_of(sizes->begin(), sizes->end(),
                           [&](std::int64_t size) { return isMonotone(numbers, size + 1); }) &&
               !isTableInstead(beginning, *sizes, numbers);
    } catch (const Refusal&) {
        return false; // not only numbers
    }
}

DoseImage readThreeDdose(ByteView file, const Host& host)
{
    Bytes unpacked;
    if (isGzip(file)) {
        const Bytes beginning = unpackBeginning(file, host.deflate, identifyingBytes);
        unpacked = unpackAll(file, host.deflate, mostBytes(beginning.view()));
    }
    const std::string_view text = asText(isGzip(file) ? unpacked.view() : file);
    NumberWords numbers(text);
    const std::optional<Sizes> sizes = sizesOf(numbers);
    if (!sizes) {
        refuseDamaged("does not begin with three counts of voxels");
    }
    const StoredGeometry stored = geometryOf(numbers, *sizes);
    checkIsTold(checkGeometry(stored), file.size());
    DoseImage dose;
    dose.unit = DoseUnit::grayPerHistory;
    dose.tellsUnit = false;
    dose.warnings.emplace_back("tells no unit; its doses are taken for Gy per history");
    dose.image = toPatientAxes(stored, dosesOf(numbers, *sizes));
    Errors(dose, host.keepsUncertainty).read(numbers, *sizes);
    if (text.back() != '\n') {
        dose.warnings.emplace_back("does not end with the end of a line; it may be cut short");
    }
    return dose;
}

} // namespace files
