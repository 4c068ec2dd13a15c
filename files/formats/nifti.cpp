#include <cmath>
#include <map>

#include "files/error.h"
#include "files/formats/volumeFormats.h"
#include "files/orientation.h"
#include "files/packed.h"
#include "files/storedValues.h"
#include "files/text.h"

namespace files
{

namespace
{

/** Far beyond any patient. */
constexpr double largestLength = 1e6; // mm

/** What a NIfTI header says, of either version; lengths in the unit of the file. */
struct NiftiHeader {
    bool isBigEndian = false;
    bool isPair = false; ///< the data are in another file
    std::size_t length = 0;
    std::array<std::int64_t, 8> dim{};
    int datatype = 0;
    int bitsPerValue = 0;
    std::array<double, 8> pixdim{};
    double dataPosition = 0;
    Scaling scaling;
    int unit = 0;
    bool hasQform = false;
    bool hasSform = false;
    std::array<double, 3> quaternion{};
    std::array<double, 3> qformOffset{};
    std::array<std::array<double, 4>, 3> affine{};
};

/** Reads fields in the byte order of the file. */
class FieldReader
{
public:
    FieldReader(ByteView bytes, bool isBigEndian) : bytes_(bytes), isBigEndian_(isBigEndian) {}

    template <class Number> Number field(std::size_t position, std::size_t index = 0) const
    {
        return numberAt<Number>(bytes_.data(), position + index * sizeof(Number), isBigEndian_);
    }

    /** Several numbers into an array of doubles or whole numbers. */
    template <class Number, class List> void fields(std::size_t position, List& list) const
    {
        for (std::size_t i = 0; i < list.size(); ++i) {
            list[i] = static_cast<typename List::value_type>(field<Number>(position, i));
        }
    }

private:
    ByteView bytes_;
    bool isBigEndian_;
};

constexpr std::size_t lengthOfOne = 348;
constexpr std::size_t lengthOfTwo = 540;

NiftiHeader fieldsOfOne(const FieldReader& reader)
{
    NiftiHeader header;
    header.length = lengthOfOne;
    reader.fields<std::int16_t>(40, header.dim);
    header.datatype = reader.field<std::int16_t>(70);
    header.bitsPerValue = reader.field<std::int16_t>(72);
    reader.fields<float>(76, header.pixdim);
    header.dataPosition = static_cast<double>(reader.field<float>(108));
    header.scaling.slope = static_cast<double>(reader.field<float>(112));
    header.scaling.intercept = static_cast<double>(reader.field<float>(116));
    header.unit = reader.field<std::uint8_t>(123);
    header.hasQform = reader.field<std::int16_t>(252) > 0;
    header.hasSform = reader.field<std::int16_t>(254) > 0;
    reader.fields<float>(256, header.quaternion);
    reader.fields<float>(268, header.qformOffset);
    for (std::size_t row = 0; row < 3; ++row) {
        reader.fields<float>(280 + 16 * row, header.affine[row]);
    }
    return header;
}

NiftiHeader fieldsOfTwo(const FieldReader& reader)
{
    NiftiHeader header;
    header.length = lengthOfTwo;
    header.datatype = reader.field<std::int16_t>(12);
    header.bitsPerValue = reader.field<std::int16_t>(14);
    reader.fields<std::int64_t>(16, header.dim);
    reader.fields<double>(104, header.pixdim);
    header.dataPosition = static_cast<double>(reader.field<std::int64_t>(168));
    header.scaling.slope = reader.field<double>(176);
    header.scaling.intercept = reader.field<double>(184);
    header.hasQform = reader.field<std::int32_t>(344) > 0;
    header.hasSform = reader.field<std::int32_t>(348) > 0;
    reader.fields<double>(352, header.quaternion);
    reader.fields<double>(376, header.qformOffset);
    for (std::size_t row = 0; row < 3; ++row) {
        reader.fields<double>(400 + 32 * row, header.affine[row]);
    }
    header.unit = reader.field<std::int32_t>(500);
    return header;
}

/** Whether the length that begins the header is the one it should be, in some byte order. */
bool beginsWith(ByteView bytes, std::size_t length, bool isBigEndian)
{
    return numberAt<std::int32_t>(bytes.data(), 0, isBigEndian) ==
           static_cast<std::int32_t>(length);
}

NiftiHeader parseHeader(ByteView bytes)
{
    constexpr std::size_t magicOfOne = 344;
    constexpr std::size_t magicOfTwo = 4;
    const std::string_view text = asText(bytes);
    const bool isTwo = text.substr(std::min(text.size(), magicOfTwo)).starts_with("n+2") ||
                       text.substr(std::min(text.size(), magicOfTwo)).starts_with("ni2");
    const std::size_t length = isTwo ? lengthOfTwo : lengthOfOne;
    if (bytes.size() < length) {
        refuseDamaged("its NIfTI header is cut short");
    }
    const bool isBigEndian = beginsWith(bytes, length, true);
    const std::string_view magic = text.substr(isTwo ? magicOfTwo : magicOfOne);
    const std::string_view ending =
        isTwo ? std::string_view("\0\r\n\x1A\n", 5) : std::string_view("\0", 1);
    if (!(isBigEndian || beginsWith(bytes, length, false)) ||
        magic.substr(3, ending.size()) != ending) {
        refuseDamaged("its NIfTI header is damaged");
    }
    const FieldReader reader(bytes, isBigEndian);
    NiftiHeader header = isTwo ? fieldsOfTwo(reader) : fieldsOfOne(reader);
    header.isBigEndian = isBigEndian;
    header.isPair = magic[1] == 'i';
    return header;
}

ValueFormat formatOf(const NiftiHeader& header)
{
    using Kind = ValueFormat::Kind;
    static const std::map<int, ValueFormat> formats = {
        {2, {Kind::unsignedInteger, 1}},    {256, {Kind::signedInteger, 1}},
        {512, {Kind::unsignedInteger, 2}},  {4, {Kind::signedInteger, 2}},
        {768, {Kind::unsignedInteger, 4}},  {8, {Kind::signedInteger, 4}},
        {1280, {Kind::unsignedInteger, 8}}, {1024, {Kind::signedInteger, 8}},
        {16, {Kind::floatingPoint, 4}},     {64, {Kind::floatingPoint, 8}}};
    const auto found = formats.find(header.datatype);
    if (found == formats.end()) {
        refuseUnsupported("its values are of the NIfTI type " + std::to_string(header.datatype) +
                          ", which is no dose");
    }
    ValueFormat format = found->second;
    if (header.bitsPerValue != static_cast<int>(8 * format.bytes)) {
        refuseDamaged("its header gives values of " + std::to_string(header.bitsPerValue) +
                      " bits, its NIfTI type has " + std::to_string(8 * format.bytes));
    }
    format.isBigEndian = header.isBigEndian;
    return format;
}

std::array<std::int64_t, 3> sizeOf(const NiftiHeader& header)
{
    const std::int64_t dimensions = header.dim[0];
    if (dimensions < 3 || dimensions > 7) {
        refuseUnsupported("is not three-dimensional but " + std::to_string(dimensions) +
                          "-dimensional");
    }
    for (std::size_t i = 1; static_cast<std::int64_t>(i) <= dimensions; ++i) {
        if (header.dim[i] < 1) {
            refuseDamaged("its header gives a grid size of " + std::to_string(header.dim[i]));
        }
        if (i > 3 && header.dim[i] != 1) {
            refuseUnsupported("is not three-dimensional but " + std::to_string(dimensions) +
                              "-dimensional");
        }
    }
    return {header.dim[1], header.dim[2], header.dim[3]};
}

/** Millimetres of the unit of length. */
double unitOf(const NiftiHeader& header, DoseImage& dose)
{
    constexpr int spaceUnits = 7; // the bits that tell them
    switch (header.unit & spaceUnits) {
    case 0:
        dose.warnings.emplace_back("tells no unit of length; its lengths are taken for mm");
        return 1;
    case 1:
        return 1000;
    case 2:
        return 1;
    case 3:
        return 1e-3;
    default:
        refuseUnsupported("its lengths are not in mm but in the unknown NIfTI unit " +
                          std::to_string(header.unit & spaceUnits));
    }
}

template <class List> void checkLengths(const List& numbers, double unit, const char* what)
{
    for (const double value : numbers) {
        if (!(std::fabs(value) * unit <= largestLength)) {
            refuseDamaged("its header gives " + std::string(what) + " of " + number(value));
        }
    }
}

/** Rows of three steps per voxel and an offset. */
using Affine = std::array<std::array<double, 4>, 3>;

/** The position as the quaternion tells it; the formula is that of the NIfTI standard. */
Affine qform(const NiftiHeader& header)
{
    auto [b, c, d] = header.quaternion;
    const double square = b * b + c * c + d * d;
    constexpr double rounding = 1e-5;
    if (!(square <= 1 + rounding)) {
        refuseDamaged("its header gives a quaternion of " + join(header.quaternion, ", ") +
                      ", which is longer than 1");
    }
    // The root of what is left by rounding to single precision would turn the grid by 0.02 degrees.
    constexpr double halfTurn = 1e-7;
    const bool isHalfTurn = 1 - square < halfTurn;
    const double length = isHalfTurn ? std::sqrt(square) : 1;
    const double a = isHalfTurn ? 0 : std::sqrt(1 - square);
    b /= length;
    c /= length;
    d /= length;
    Affine affine = {{{a * a + b * b - c * c - d * d, 2 * (b * c - a * d), 2 * (b * d + a * c)},
                      {2 * (b * c + a * d), a * a + c * c - b * b - d * d, 2 * (c * d - a * b)},
                      {2 * (b * d - a * c), 2 * (c * d + a * b), a * a + d * d - b * b - c * c}}};
    const double handedness = header.pixdim[0] < 0 ? -1 : 1;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            affine[row][axis] *= header.pixdim[axis + 1] * (axis == 2 ? handedness : 1);
        }
        affine[row][3] = header.qformOffset[row];
    }
    return affine;
}

/** Two descriptions of a grid that put each voxel within so much of one place are one. */
constexpr double placeTolerance = 0.01; // mm

bool positionsAgree(const Affine& one, const Affine& other, const NiftiHeader& header, double unit)
{
    for (std::size_t row = 0; row < 3; ++row) {
        double apart = 0;
        for (std::size_t column = 0; column < 4; ++column) {
            const double steps = column < 3 ? static_cast<double>(header.dim[column + 1]) : 1;
            apart += std::fabs(one[row][column] - other[row][column]) * steps * unit;
        }
        if (!(apart <= placeTolerance)) {
            return false;
        }
    }
    return true;
}

/** The steps of an affine, in the patient's axes and mm; NIfTI's point to the right and front. */
void setPlace(StoredGeometry& stored, const Affine& affine, double unit)
{
    constexpr std::array<double, 3> toPatient = {-1, -1, 1};
    std::array<Vec3, 3> steps{};
    for (std::size_t row = 0; row < 3; ++row) {
        const double factor = toPatient[row] * unit;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            steps[axis][row] = affine[row][axis] * factor;
        }
        stored.origin[row] = affine[row][3] * factor;
    }
    setSteps(stored, steps);
}

void checkPixdim(const NiftiHeader& header, double unit)
{
    for (std::size_t i = 1; i <= 3; ++i) {
        const double size = header.pixdim[i];
        if (!(size > 0 && size * unit <= largestLength)) {
            refuseDamaged("its header gives a voxel size of " + number(size));
        }
    }
}

/** Refuses voxel sizes that differ from the steps of the affine. */
void checkSteps(const StoredGeometry& stored, const NiftiHeader& header, double unit)
{
    for (std::size_t i = 0; i < 3; ++i) {
        const double told = header.pixdim[i + 1] * unit;
        const double apart =
            std::fabs(stored.spacing[i] - told) * static_cast<double>(stored.size[i]);
        if (!(apart <= placeTolerance)) {
            refuseDamaged("its header tells two different voxel sizes: " + number(told) +
                          " mm (pixdim) and " + number(stored.spacing[i]) + " mm (sform)");
        }
    }
}

StoredGeometry geometryOf(const NiftiHeader& header, DoseImage& dose)
{
    StoredGeometry stored;
    stored.size = sizeOf(header);
    const double unit = unitOf(header, dose);
    checkPixdim(header, unit);
    if (!header.hasQform && !header.hasSform) {
        refuseUnsupported("its header tells no position (neither qform nor sform)");
    }
    if (header.hasQform) {
        checkLengths(header.quaternion, 1, "an orientation or origin");
        checkLengths(header.qformOffset, unit, "an orientation or origin");
    }
    if (!header.hasSform) {
        setPlace(stored, qform(header), unit);
        for (std::size_t i = 0; i < 3; ++i) {
            stored.spacing[i] = header.pixdim[i + 1] * unit;
        }
        return stored;
    }
    for (const auto& row : header.affine) {
        checkLengths(row, unit, "an orientation or origin");
    }
    if (header.hasQform && !positionsAgree(header.affine, qform(header), header, unit)) {
        refuseUnsupported("its header tells two different positions (qform and sform)");
    }
    setPlace(stored, header.affine, unit);
    checkSteps(stored, header, unit);
    return stored;
}

std::size_t dataPositionOf(const NiftiHeader& header)
{
    constexpr std::size_t extensionMark = 4;
    constexpr double farthest = 1 << 28; // enough for any extension
    const double first = header.isPair ? 0 : static_cast<double>(header.length + extensionMark);
    const double told = header.dataPosition;
    const double position = told == 0 ? first : told;
    if (!(position >= first && position <= farthest) || position != std::floor(position)) {
        refuseDamaged("its header gives a data position of " + number(told));
    }
    return static_cast<std::size_t>(position);
}

Scaling scalingOf(const NiftiHeader& header)
{
    const double slope = header.scaling.slope;
    if (slope == 0 || !std::isfinite(slope)) {
        return {}; // the values are not scaled
    }
    if (!std::isfinite(header.scaling.intercept)) {
        refuseDamaged("its header gives an intercept of " + number(header.scaling.intercept));
    }
    return header.scaling;
}

/** The values behind `position` bytes of a file, packed by gzip or not. */
Values valuesOf(const Contents& contents, std::size_t position, const NiftiHeader& header,
                std::size_t count, const Deflate& deflate)
{
    const ByteView data = contents.bytes;
    const ValueFormat format = formatOf(header);
    const Scaling scaling = scalingOf(header);
    const std::uint64_t whole = position + bytesOf(format, count);
    // Values of a pair may happen to begin like a packed file.
    const bool isPacked = isGzip(data) && !(header.isPair && data.size() == whole);
    if (!isPacked) {
        return plainValues(Contents(contents, part(data, position)), format, scaling, count);
    }
    if (mostUnpacked(data.size()) < whole) {
        refuseDamaged("is cut short, or its header lies: its grid needs " + grouped(whole) +
                      " bytes, the packed file has " + grouped(data.size()));
    }
    if (position == 0) {
        return packedValues(data, deflate, format, scaling, count);
    }
    Bytes bytes(whole);
    unpackInto(bytes.buffer(), data, deflate);
    return plainValues(Contents(Contents(bytes), part(bytes.view(), position)), format, scaling,
                       count);
}

} // namespace

DoseImage readNifti(const Contents& file, const FindFile& find, const Host& host)
{
    const bool isPacked = isGzip(file.bytes);
    Bytes unpacked;
    if (isPacked) {
        unpacked = unpackBeginning(file.bytes, host.deflate, lengthOfTwo);
    }
    const NiftiHeader header = parseHeader(isPacked ? unpacked.view() : file.bytes);
    DoseImage dose;
    assumeGray(dose);
    const StoredGeometry stored = geometryOf(header, dose);
    const std::size_t count = checkGeometry(stored);
    const std::size_t position = dataPositionOf(header);
    Bytes companion;
    if (header.isPair) {
        companion = valueOf(find(""));
    }
    const Contents data = header.isPair ? Contents(companion) : file;
    dose.image = toPatientAxes(stored, valuesOf(data, position, header, count, host.deflate));
    return dose;
}

} // namespace files
