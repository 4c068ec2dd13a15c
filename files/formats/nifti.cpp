#include "niftiHeader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <fstream>
#include <map>
#include <string_view>
#include <utility>

#include "failure.h"
#include "text.h"

namespace cli
{

namespace
{

constexpr std::size_t dim = 40;
constexpr std::size_t pixdim = 76;
constexpr std::size_t units = 123;
constexpr std::size_t qformCode = 252;
constexpr std::size_t sformCode = 254;
constexpr std::size_t quaternion = 256;
constexpr std::size_t qformOffset = 268;
constexpr std::size_t affineRows = 280;

/** Far beyond any patient; ITK computes for minutes with numbers that are absurd. */
constexpr double largestLength = 1e6; // mm

bool isLength(double value)
{
    return std::fabs(value) <= largestLength;
}

bool isPositive(double value)
{
    return value > 0 && isLength(value);
}

bool isFinite(double value)
{
    return std::isfinite(value);
}

/** The fields of a NIfTI-1 header, in the byte order of the file. */
class NiftiHeader
{
public:
    explicit NiftiHeader(std::string bytes) : bytes_(std::move(bytes))
    {
        constexpr std::int32_t ownSize = 348;
        isSwapped_ = field<std::int32_t>(0) != ownSize;
        if (field<std::int32_t>(0) != ownSize) {
            throw InputError("its NIfTI header is damaged");
        }
    }

    template <class Number> Number field(std::size_t position, std::size_t index = 0) const
    {
        std::array<char, sizeof(Number)> raw{};
        std::memcpy(raw.data(), bytes_.data() + position + index * sizeof(Number), sizeof(Number));
        if (isSwapped_) {
            std::reverse(raw.begin(), raw.end());
        }
        return std::bit_cast<Number>(raw);
    }

    /** A field of floats. */
    double number(std::size_t position, std::size_t index = 0) const
    {
        return static_cast<double>(field<float>(position, index));
    }

    /** Refuses a field of floats with a value that is not acceptable. */
    template <class Condition>
    void checkFloats(std::size_t position, std::size_t count, const char* what,
                     Condition isAcceptable) const
    {
        for (std::size_t i = 0; i < count; ++i) {
            const double value = number(position, i);
            if (!isAcceptable(value)) {
                throw InputError("its header gives " + std::string(what) + " of " +
                                 cli::number(value));
            }
        }
    }

    bool isBigEndian() const { return isSwapped_; }

private:
    std::string bytes_;
    bool isSwapped_ = false;
};

ValueFormat niftiFormat(const NiftiHeader& header)
{
    constexpr std::size_t datatype = 70;
    using Kind = ValueFormat::Kind;
    static const std::map<int, ValueFormat> formats = {
        {2, {Kind::unsignedInteger, 1}},    {256, {Kind::signedInteger, 1}},
        {512, {Kind::unsignedInteger, 2}},  {4, {Kind::signedInteger, 2}},
        {768, {Kind::unsignedInteger, 4}},  {8, {Kind::signedInteger, 4}},
        {1280, {Kind::unsignedInteger, 8}}, {1024, {Kind::signedInteger, 8}},
        {16, {Kind::floatingPoint, 4}},     {64, {Kind::floatingPoint, 8}}};
    const int type = header.field<std::int16_t>(datatype);
    const auto found = formats.find(type);
    if (found == formats.end()) {
        throw InputError("its values are of the NIfTI type " + std::to_string(type) +
                         ", which is no dose");
    }
    ValueFormat format = found->second;
    format.isBigEndian = header.isBigEndian();
    return format;
}

StoredData niftiData(const std::string& path, const NiftiHeader& header)
{
    constexpr std::size_t voxOffset = 108;
    constexpr std::size_t slope = 112;
    constexpr std::size_t intercept = 116;
    constexpr double usualPosition = 352;
    constexpr double farthestPosition = 1 << 28; // room for any extension
    const double told = header.number(voxOffset);
    const double position = told == 0 ? usualPosition : told;
    if (!(position >= usualPosition && position <= farthestPosition) ||
        position != std::floor(position)) {
        throw InputError("its header gives a data position of " + cli::number(told));
    }
    StoredData data = dataIn(path, static_cast<std::uintmax_t>(position));
    constexpr std::string_view gzipMark = "\x1f\x8b";
    std::string mark(gzipMark.size(), '\0');
    std::ifstream(path, std::ios::binary).read(mark.data(), 2);
    if (mark == gzipMark) {
        data.compression = StoredData::Compression::wholeFile;
    }
    const double factor = header.number(slope);
    if (std::isfinite(factor) && factor != 0) { // else the values are not scaled
        header.checkFloats(intercept, 1, "an intercept", isFinite);
        data.slope = factor;
        data.intercept = header.number(intercept);
    }
    return data;
}

void checkSizes(const NiftiHeader& header)
{
    const int dimensions = header.field<std::int16_t>(dim);
    for (std::size_t i = 1; i <= 3 && static_cast<int>(i) <= dimensions; ++i) {
        const int size = header.field<std::int16_t>(dim, i);
        if (size < 1) {
            throw InputError("its header gives a grid size of " + std::to_string(size));
        }
    }
    header.checkFloats(pixdim + sizeof(float), 3, "a voxel size", isPositive);
}

void checkUnits(const NiftiHeader& header)
{
    constexpr int spaceUnits = 7; // the bits that tell them
    constexpr int unknown = 0;
    constexpr int millimetre = 2;
    const int unit = header.field<std::uint8_t>(units) & spaceUnits;
    if (unit != unknown && unit != millimetre) {
        throw InputError("its lengths are not in mm");
    }
}

/** Rows of three steps per voxel and an offset, mm. */
using Affine = std::array<std::array<double, 4>, 3>;

/** The position as the quaternion tells it; the formula is that of the NIfTI standard. */
Affine qform(const NiftiHeader& header)
{
    const double b = header.number(quaternion);
    const double c = header.number(quaternion, 1);
    const double d = header.number(quaternion, 2);
    const double a = std::sqrt(std::max(0.0, 1 - (b * b + c * c + d * d)));
    Affine affine = {{{a * a + b * b - c * c - d * d, 2 * (b * c - a * d), 2 * (b * d + a * c)},
                      {2 * (b * c + a * d), a * a + c * c - b * b - d * d, 2 * (c * d - a * b)},
                      {2 * (b * d - a * c), 2 * (c * d + a * b), a * a + d * d - b * b - c * c}}};
    const double handedness = header.number(pixdim) < 0 ? -1 : 1;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            affine[row][axis] *= header.number(pixdim, axis + 1) * (axis == 2 ? handedness : 1);
        }
        affine[row][3] = header.number(qformOffset, row);
    }
    return affine;
}

/** Whether the rows of the affine put every voxel where the quaternion does. */
bool positionsAgree(const NiftiHeader& header)
{
    constexpr double tolerance = 0.01; // mm
    const Affine expected = qform(header);
    for (std::size_t row = 0; row < 3; ++row) {
        double apart = 0;
        for (std::size_t column = 0; column < 4; ++column) {
            const double steps = column < 3 ? header.field<std::int16_t>(dim, column + 1) : 1;
            const double told = header.number(affineRows, row * 4 + column);
            apart += std::fabs(told - expected[row][column]) * steps;
        }
        if (!(apart <= tolerance)) {
            return false;
        }
    }
    return true;
}

void checkPosition(const NiftiHeader& header)
{
    const bool hasQform = header.field<std::int16_t>(qformCode) > 0;
    const bool hasSform = header.field<std::int16_t>(sformCode) > 0;
    if (!hasQform && !hasSform) {
        throw InputError("its header tells no position (neither qform nor sform)");
    }
    if (hasQform) {
        header.checkFloats(quaternion, 6, "an orientation or origin", isLength);
    }
    if (hasSform) {
        header.checkFloats(affineRows, 12, "an orientation or origin", isLength);
    }
    if (hasQform && hasSform && !positionsAgree(header)) {
        throw InputError("its header tells two different positions (qform and sform)");
    }
}

} // namespace

VolumeHeader checkNiftiHeader(const std::string& path)
{
    constexpr unsigned headerLength = 348;
    constexpr std::size_t magic = 344;
    if (!path.ends_with(".nii") && !path.ends_with(".nii.gz")) {
        throw InputError("is a NIfTI file but not named .nii or .nii.gz");
    }
    const std::string bytes = readBeginning(path, headerLength);
    if (bytes.size() < headerLength) {
        throw InputError("its NIfTI header is cut short");
    }
    if (bytes.compare(magic, 3, "ni1") == 0) {
        throw InputError("is one file of a NIfTI pair; write it as one .nii or .nii.gz file");
    }
    const NiftiHeader header(bytes);
    checkSizes(header);
    checkUnits(header);
    checkPosition(header);
    return {niftiData(path, header), niftiFormat(header), true};
}

} // namespace cli
