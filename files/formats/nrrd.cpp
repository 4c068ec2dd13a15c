#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <utility>

#include "files/error.h"
#include "files/formats/textHeader.h"
#include "files/formats/volumeFormats.h"
#include "files/orientation.h"
#include "files/packed.h"
#include "files/storedValues.h"
#include "files/text.h"

namespace files
{

namespace
{

struct NrrdHeader : TextHeader {
    std::size_t length = 0;                      ///< bytes up to the first byte behind the header
    std::vector<std::string_view> keysAndValues; ///< lines "key:=value"
};

const std::set<std::string, std::less<>>& knownFields()
{
    static const std::set<std::string, std::less<>> fields = {"type",
                                                              "dimension",
                                                              "sizes",
                                                              "endian",
                                                              "encoding",
                                                              "content",
                                                              "number",
                                                              "min",
                                                              "max",
                                                              "old min",
                                                              "oldmin",
                                                              "old max",
                                                              "oldmax",
                                                              "block size",
                                                              "blocksize",
                                                              "data file",
                                                              "datafile",
                                                              "line skip",
                                                              "lineskip",
                                                              "byte skip",
                                                              "byteskip",
                                                              "sample units",
                                                              "sampleunits",
                                                              "spacings",
                                                              "thicknesses",
                                                              "axis mins",
                                                              "axismins",
                                                              "axis maxs",
                                                              "axismaxs",
                                                              "centers",
                                                              "centerings",
                                                              "labels",
                                                              "units",
                                                              "kinds",
                                                              "space",
                                                              "space dimension",
                                                              "space units",
                                                              "space origin",
                                                              "space directions",
                                                              "measurement frame"};
    return fields;
}

/** A line "field: value", the blank included; "key:=value" tells nothing about the grid. */
void addLine(NrrdHeader& header, std::string_view line)
{
    const auto colon = line.find(':');
    const bool isKeyAndValue = line.find(":=") != std::string_view::npos;
    const std::string field = lowerCase(stripped(line.substr(0, colon)));
    const bool isField = colon != std::string_view::npos && line.substr(colon, 2) == ": " &&
                         knownFields().contains(field);
    if (isField) {
        header.add(field, line.substr(colon + 1));
    } else if (isKeyAndValue) {
        header.keysAndValues.push_back(line);
    } else {
        refuse("its header has a line that is no field of NRRD: \"" + excerpt(line) + "\"");
    }
}

void checkVersion(std::string_view line)
{
    constexpr std::string_view magic = "NRRD000";
    const bool isKnown = line.size() == magic.size() + 1 && line.starts_with(magic) &&
                         line.back() >= '1' && line.back() <= '5';
    if (!isKnown) {
        refuse("is of an unknown version of NRRD, \"" + excerpt(line) +
               "\" (accepted: NRRD0001 to NRRD0005)");
    }
}

NrrdHeader parseHeader(ByteView file)
{
    constexpr std::size_t longestHeader = 1 << 20;
    NrrdHeader header;
    Lines lines(part(file, 0, longestHeader));
    checkVersion(lines.next().value_or(""));
    while (const auto line = lines.next()) {
        if (line->empty()) {
            header.length = lines.position();
            return header;
        }
        if (!line->starts_with('#')) {
            addLine(header, *line);
        }
    }
    if (header.findAny({"data file", "datafile"}) == nullptr || file.size() > longestHeader) {
        refuse("its header has no end (an empty line)");
    }
    return header;
}

/** The words of an entry; a word in quotes or parentheses may have blanks in it. */
std::vector<std::string> itemsOf(std::string_view entry, char open, char close)
{
    std::vector<std::string> items;
    while (!stripped(entry).empty()) {
        entry.remove_prefix(entry.find_first_not_of(" \t"));
        const bool isEnclosed = entry.front() == open;
        const auto end = isEnclosed ? entry.find(close, 1) : entry.find_first_of(" \t");
        if (isEnclosed && end == std::string_view::npos) {
            return {};
        }
        const std::size_t length = std::min(end, entry.size());
        items.emplace_back(isEnclosed ? entry.substr(1, length - 1) : entry.substr(0, length));
        entry.remove_prefix(isEnclosed ? length + 1 : length);
    }
    return items;
}

/** A vector in space, or nothing for "none". */
using Step = std::optional<Vec3>;

Vec3 vectorOf(std::string item, const char* what, std::string_view entry)
{
    std::replace(item.begin(), item.end(), ',', ' ');
    const auto blank = item.find_first_not_of(" \t");
    const std::vector<double> numbers =
        blank == std::string::npos ? std::vector<double>{} : numbersOf(item, what);
    if (numbers.size() != 3) {
        refuseEntry(what, entry);
    }
    return {numbers[0], numbers[1], numbers[2]};
}

std::vector<Step> stepsOf(const std::string& entry)
{
    std::vector<Step> steps;
    for (const std::string& item : itemsOf(entry, '(', ')')) {
        if (lowerCase(item) == "none") {
            steps.emplace_back();
        } else {
            steps.emplace_back(vectorOf(item, "a direction", entry));
        }
    }
    return steps;
}

/** How the coordinates of the file's space become those of the patient. */
struct Space {
    std::array<std::size_t, 3> axis = {0, 1, 2}; ///< of the patient, for each coordinate
    std::array<double, 3> factor = {1, 1, 1};    ///< its sign and its unit, mm
    bool isTold = false;

    Vec3 toPatient(const Vec3& vector) const
    {
        Vec3 result{};
        for (std::size_t i = 0; i < 3; ++i) {
            result[axis[i]] = vector[i] * factor[i];
        }
        return result;
    }
};

/** The initials of a space named by directions, as "RAS" or "right-anterior-superior". */
std::string initialsOf(const std::string& name)
{
    static const std::set<std::string, std::less<>> words = {"left",      "right",    "anterior",
                                                             "posterior", "superior", "inferior"};
    if (name.size() == 3) {
        return name;
    }
    std::string initials;
    for (const std::string& word : split(name, '-')) {
        initials += words.contains(word) ? word[0] : '?';
    }
    return initials;
}

Space spaceOf(const NrrdHeader& header)
{
    Space space;
    const std::string* const dimension = header.find("space dimension");
    if (dimension != nullptr && *dimension != "3") {
        refuse("its space has " + excerpt(*dimension) + " dimensions instead of 3");
    }
    const std::string* const entry = header.find("space");
    if (entry == nullptr) {
        return space;
    }
    const std::string name = lowerCase(*entry);
    if (name == "3d-right-handed" || name == "scanner-xyz") {
        return space; // axes without a patient
    }
    constexpr std::string_view directions = "lrpasi"; // of each axis the positive one first
    std::array<bool, 3> used{};
    const std::string initials = initialsOf(name);
    for (std::size_t i = 0; i < 3; ++i) {
        const auto place = initials.size() == 3 ? directions.find(initials[i]) : std::string::npos;
        if (place == std::string_view::npos || used[place / 2]) {
            refuse("its space \"" + excerpt(*entry) +
                   "\" is not supported (accepted: directions of the patient such as "
                   "left-posterior-superior)");
        }
        used[place / 2] = true;
        space.axis[i] = place / 2;
        space.factor[i] = place % 2 == 0 ? 1 : -1;
    }
    space.isTold = true;
    return space;
}

double lengthUnit(const std::string& unit)
{
    if (trimmed(unit).empty() || unit == "???") {
        return 1;
    }
    const std::optional<double> millimetres = millimetresOf(unit);
    if (!millimetres) {
        refuse("its lengths are in \"" + excerpt(unit) + "\", not in mm");
    }
    return *millimetres;
}

/** The grid, axis by axis, before the three that span the volume are picked. */
struct Axes {
    std::vector<std::int64_t> sizes;
    std::vector<std::string> units;    ///< empty where they are not told
    std::optional<std::size_t> layers; ///< the one that counts volumes of one grid

    /** Whether an axis may be none of space. */
    bool mayBeNone(std::size_t axis) const { return sizes[axis] == 1 || axis == layers; }
    std::int64_t layerCount() const { return layers ? sizes[*layers] : 1; }
};

/** The axis of the kind "list", if there is one. */
std::optional<std::size_t> listAxis(const NrrdHeader& header, std::size_t axes)
{
    const std::string* const entry = header.find("kinds");
    const std::vector<std::string> kinds =
        entry == nullptr ? std::vector<std::string>{} : itemsOf(lowerCase(*entry), '"', '"');
    const auto list = std::find(kinds.begin(), kinds.end(), "list");
    if (list == kinds.end() || kinds.size() != axes) {
        return {};
    }
    return static_cast<std::size_t>(list - kinds.begin());
}

/** Whether a file's lists are layers, or values of which a dose has one per voxel. */
enum class Lists { layers, refused };

Axes axesOf(const NrrdHeader& header, Lists lists)
{
    Axes axes;
    axes.sizes = wholeNumbersOf(header.need("sizes"), "a grid size");
    const std::string& dimension = header.need("dimension");
    if (wholeNumbersOf(dimension, "a number of dimensions", 1)[0] !=
        static_cast<std::int64_t>(axes.sizes.size())) {
        refuseEntry("a number of dimensions", dimension);
    }
    if (axes.sizes.size() < 3) {
        volumeSize(axes.sizes);
    }
    if (const std::string* const units = header.find("units")) {
        axes.units = itemsOf(*units, '"', '"');
        if (axes.units.size() != axes.sizes.size()) {
            refuseEntry("units", *units);
        }
    }
    if (lists == Lists::layers) {
        axes.layers = listAxis(header, axes.sizes.size());
    }
    return axes;
}

/** Picks the three axes for which `isSpatial` holds; the others must have one voxel. */
template <class IsSpatial>
std::array<std::size_t, 3> pickAxes(const Axes& axes, const IsSpatial& isSpatial)
{
    std::vector<std::size_t> picked;
    for (std::size_t i = 0; i < axes.sizes.size(); ++i) {
        const bool isOne = axes.sizes[i] == 1;
        if (isSpatial(i) && i != axes.layers && !(picked.size() == 3 && isOne)) {
            picked.push_back(i);
        } else if (!axes.mayBeNone(i)) {
            refuse("has " + std::to_string(axes.sizes[i]) +
                   " values per voxel instead of one dose");
        }
    }
    if (picked.size() != 3) {
        refuse("is not three-dimensional but " + std::to_string(picked.size()) + "-dimensional");
    }
    return {picked[0], picked[1], picked[2]};
}

/** Grids in a space: steps and an origin. */
class GridInSpace
{
public:
    GridInSpace(const NrrdHeader& header, const Axes& axes) : header_(header), axes_(axes) {}

    StoredGeometry geometry(DoseImage& dose)
    {
        const std::string& entry = header_.need("space directions");
        const std::vector<Step> steps = stepsOf(entry);
        if (steps.size() != axes_.sizes.size()) {
            refuseEntry("space directions", entry);
        }
        if (header_.find("spacings") != nullptr) {
            refuse("its header tells two voxel sizes (spacings and space directions)");
        }
        const auto picked =
            pickAxes(axes_, [&steps](std::size_t i) { return steps[i].has_value(); });
        const Space space = spaceInMillimetres(picked);
        StoredGeometry stored;
        std::array<Vec3, 3> inPatient{};
        for (std::size_t i = 0; i < 3; ++i) {
            stored.size[i] = axes_.sizes[picked[i]];
            inPatient[i] = space.toPatient(*steps[picked[i]]);
        }
        setSteps(stored, inPatient);
        dose.tellsOrientation = space.isTold;
        const std::string* const origin = header_.find("space origin");
        dose.tellsPosition = origin != nullptr;
        if (origin != nullptr) {
            stored.origin = space.toPatient(originOf(*origin));
        }
        return stored;
    }

private:
    static Vec3 originOf(const std::string& entry)
    {
        const std::vector<std::string> items = itemsOf(entry, '(', ')');
        if (items.size() != 1) {
            refuseEntry("an origin", entry);
        }
        return vectorOf(items[0], "an origin", entry);
    }

    Space spaceInMillimetres(const std::array<std::size_t, 3>& picked) const
    {
        Space space = spaceOf(header_);
        if (const std::string* const entry = header_.find("space units")) {
            const std::vector<std::string> units = itemsOf(*entry, '"', '"');
            if (units.size() != 3) {
                refuseEntry("space units", *entry);
            }
            for (std::size_t i = 0; i < 3; ++i) {
                space.factor[i] *= lengthUnit(units[i]);
            }
        } else if (!axes_.units.empty()) {
            const double unit = commonUnit(picked);
            for (double& factor : space.factor) {
                factor *= unit;
            }
        }
        return space;
    }

    /** Units of axes hold for the coordinates only where they are the same. */
    double commonUnit(const std::array<std::size_t, 3>& picked) const
    {
        const double unit = lengthUnit(axes_.units[picked[0]]);
        for (const std::size_t axis : picked) {
            if (lengthUnit(axes_.units[axis]) != unit) {
                refuse("its header gives several units of length and no space units");
            }
        }
        return unit;
    }

    const NrrdHeader& header_;
    const Axes& axes_;
};

/** Grids without directions: spacings, and perhaps the lower ends of the axes. */
class GridOfSpacings
{
public:
    GridOfSpacings(const NrrdHeader& header, const Axes& axes) : header_(header), axes_(axes) {}

    StoredGeometry geometry(DoseImage& dose)
    {
        const std::string* const entry = header_.find("spacings");
        if (entry == nullptr) {
            refuse("its header tells no voxel size");
        }
        const std::vector<double> spacings = axisNumbers(*entry, "a voxel size");
        const auto picked =
            pickAxes(axes_, [&](std::size_t i) { return std::isfinite(spacings[i]); });
        StoredGeometry stored;
        stored.axes = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
        for (std::size_t i = 0; i < 3; ++i) {
            stored.size[i] = axes_.sizes[picked[i]];
            stored.spacing[i] = spacings[picked[i]] * unitOf(picked[i]);
        }
        dose.tellsOrientation = false;
        dose.tellsPosition = setOrigin(stored, picked, dose);
        return stored;
    }

private:
    bool setOrigin(StoredGeometry& stored, const std::array<std::size_t, 3>& picked,
                   DoseImage& dose)
    {
        if (header_.find("space") != nullptr || header_.find("space origin") != nullptr) {
            refuse("its header gives a space but no space directions");
        }
        const std::string* const entry = header_.findAny({"axis mins", "axismins"});
        if (entry == nullptr) {
            return false;
        }
        const std::vector<double> mins = axisNumbers(*entry, "axis mins");
        for (std::size_t i = 0; i < 3; ++i) {
            if (!std::isfinite(mins[picked[i]])) {
                refuseEntry("axis mins", *entry);
            }
            const double half = isAtCentre(picked[i], dose) ? 0 : stored.spacing[i] / 2;
            stored.origin[i] = mins[picked[i]] * unitOf(picked[i]) + half;
        }
        return true;
    }

    /** Whether the lower end of an axis is the centre of its first voxel, or its face. */
    bool isAtCentre(std::size_t axis, DoseImage& dose) const
    {
        const std::string* const entry = header_.findAny({"centerings", "centers"});
        const std::vector<std::string> items =
            entry == nullptr ? std::vector<std::string>(axes_.sizes.size(), "???")
                             : itemsOf(*entry, '"', '"');
        const std::string name = axis < items.size() ? lowerCase(items[axis]) : "";
        if (name == "node" || name == "cell") {
            return name == "node";
        }
        if (entry != nullptr && name != "???" && name != "none") {
            refuseEntry("centerings", *entry);
        }
        const std::string note = "tells no centerings; its axis mins count as faces of voxels";
        if (dose.warnings.empty() || dose.warnings.back() != note) {
            dose.warnings.push_back(note);
        }
        return false;
    }

    double unitOf(std::size_t axis) const
    {
        return axes_.units.empty() ? 1 : lengthUnit(axes_.units[axis]);
    }

    /** A number for each axis; not-a-number where the axis is none of space. */
    std::vector<double> axisNumbers(const std::string& entry, const char* what) const
    {
        const std::vector<std::string> words = itemsOf(entry, '"', '"');
        if (words.size() != axes_.sizes.size()) {
            refuseEntry(what, entry);
        }
        std::vector<double> numbers;
        for (std::size_t i = 0; i < words.size(); ++i) {
            const bool isNone = lowerCase(words[i]) == "nan" && axes_.mayBeNone(i);
            numbers.push_back(isNone ? NAN : numbersOf(words[i], what, 1)[0]);
        }
        return numbers;
    }

    const NrrdHeader& header_;
    const Axes& axes_;
};

StoredGeometry geometryOf(const NrrdHeader& header, const Axes& axes, DoseImage& dose)
{
    return header.find("space directions") != nullptr ? GridInSpace(header, axes).geometry(dose)
                                                      : GridOfSpacings(header, axes).geometry(dose);
}

bool isBigEndian(const NrrdHeader& header, unsigned bytes, bool isText)
{
    const std::string* const entry = header.find("endian");
    if (entry == nullptr) {
        if (bytes > 1 && !isText) {
            refuse("its header has no \"endian\", the byte order of its values");
        }
        return false;
    }
    const std::string name = lowerCase(*entry);
    if (name != "little" && name != "big") {
        refuseEntry("a byte order (endian)", *entry);
    }
    return name == "big";
}

ValueFormat formatOf(const NrrdHeader& header)
{
    using Kind = ValueFormat::Kind;
    static const std::map<std::string, ValueFormat, std::less<>> types = [] {
        std::map<std::string, ValueFormat, std::less<>> names;
        const auto add = [&names](Kind kind, unsigned bytes,
                                  std::initializer_list<const char*> synonyms) {
            for (const char* name : synonyms) {
                names[name] = {kind, bytes};
            }
        };
        add(Kind::signedInteger, 1, {"signed char", "int8", "int8_t"});
        add(Kind::unsignedInteger, 1, {"uchar", "unsigned char", "uint8", "uint8_t"});
        add(Kind::signedInteger, 2,
            {"short", "short int", "signed short", "signed short int", "int16", "int16_t"});
        add(Kind::unsignedInteger, 2,
            {"ushort", "unsigned short", "unsigned short int", "uint16", "uint16_t"});
        add(Kind::signedInteger, 4, {"int", "signed int", "int32", "int32_t"});
        add(Kind::unsignedInteger, 4, {"uint", "unsigned int", "uint32", "uint32_t"});
        add(Kind::signedInteger, 8,
            {"longlong", "long long", "long long int", "signed long long", "signed long long int",
             "int64", "int64_t"});
        add(Kind::unsignedInteger, 8,
            {"ulonglong", "unsigned long long", "unsigned long long int", "uint64", "uint64_t"});
        add(Kind::floatingPoint, 4, {"float"});
        add(Kind::floatingPoint, 8, {"double"});
        return names;
    }();
    const std::string& name = header.need("type");
    const auto type = types.find(lowerCase(name));
    if (type == types.end()) {
        refuse("has values of the unknown type \"" + excerpt(name) + "\"");
    }
    return type->second;
}

/** What is known of the values' unit. */
Scaling scalingOf(const NrrdHeader& header, DoseImage& dose)
{
    if (header.findAny({"old min", "oldmin"}) != nullptr ||
        header.findAny({"old max", "oldmax"}) != nullptr) {
        dose.warnings.emplace_back(
            "was quantised (old min, old max); its values are taken as they are stored");
    }
    const std::string* const entry = header.findAny({"sample units", "sampleunits"});
    const std::vector<std::string> units =
        entry == nullptr ? std::vector<std::string>{} : itemsOf(*entry, '"', '"');
    const std::string unit = units.empty() ? "" : lowerCase(units[0]);
    if (unit == "cgy") {
        return {0.01, 0};
    }
    if (unit == "mgy") {
        return {0.001, 0};
    }
    if (unit.empty() || unit == "???") {
        assumeGray(dose);
    } else if (unit != "gy" && unit != "gray") {
        dose.tellsUnit = false;
        dose.doubts.push_back("its sample units are \"" + excerpt(units[0]) + "\", taken for Gy");
    }
    return {};
}

std::int64_t skipOf(const NrrdHeader& header, std::initializer_list<std::string_view> keys,
                    const char* what, std::int64_t least)
{
    const std::string* const entry = header.findAny(keys);
    const std::int64_t skip = entry == nullptr ? 0 : wholeNumbersOf(*entry, what, 1)[0];
    if (skip < least) {
        refuseEntry(what, *entry);
    }
    return skip;
}

ByteView behindLines(ByteView bytes, std::int64_t count)
{
    Lines lines(bytes);
    for (std::int64_t i = 0; i < count; ++i) {
        if (!lines.next()) {
            refuse("is cut short, or its header lies: it has fewer lines than are to be skipped");
        }
    }
    return part(bytes, lines.position());
}

/** The values behind so many skipped bytes, which in packed data are bytes of what is packed. */
std::vector<float> unpackedValues(ByteView data, std::int64_t skip, const ValueFormat& format,
                                  const Scaling& scaling, std::size_t count, const Deflate& deflate)
{
    if (skip < 0) {
        refuse("its compressed data begins at an odd place (byte skip: -1), which is not "
               "supported");
    }
    if (skip == 0) {
        return packedValues(data, deflate, format, scaling, count);
    }
    const std::uint64_t whole = static_cast<std::uint64_t>(skip) + bytesOf(format, count);
    if (mostUnpacked(data.size()) < whole) {
        refuse("is cut short, or its header lies: its grid needs " + grouped(whole) +
               " bytes, skipped ones included");
    }
    Bytes bytes(whole);
    unpackInto(bytes.room(), data, deflate);
    return plainValues(part(bytes.view(), static_cast<std::uint64_t>(skip)), format, scaling,
                       count);
}

std::vector<float> valuesOf(const NrrdHeader& header, ByteView data, const Scaling& scaling,
                            std::size_t count, const Deflate& deflate)
{
    const std::string encoding = lowerCase(header.need("encoding"));
    const bool isText = encoding == "ascii" || encoding == "text" || encoding == "txt";
    const bool isPacked = encoding == "gzip" || encoding == "gz";
    if (!isText && !isPacked && encoding != "raw") {
        refuse("its encoding \"" + excerpt(encoding) +
               "\" is not supported (accepted: raw, gzip, ascii)");
    }
    ValueFormat format = formatOf(header);
    format.isBigEndian = isBigEndian(header, format.bytes, isText);
    data = behindLines(data, skipOf(header, {"line skip", "lineskip"}, "a line skip", 0));
    const std::int64_t skip = skipOf(header, {"byte skip", "byteskip"}, "a byte skip", -1);
    if (isPacked) {
        return unpackedValues(data, skip, format, scaling, count, deflate);
    }
    const std::uint64_t needed = bytesOf(format, count);
    if (skip < 0 && data.size() > needed && !isText) {
        data = data.last(static_cast<std::size_t>(needed));
    }
    data = part(data, skip < 0 ? 0 : static_cast<std::uint64_t>(skip));
    return isText ? writtenValues(asText(data), format, scaling, count)
                  : plainValues(data, format, scaling, count);
}

/** A file's grid and all its values. */
struct NrrdVolume {
    NrrdHeader header;
    Axes axes;
    DoseImage dose; ///< without values
    StoredGeometry stored;
    std::vector<float> values;
};

std::size_t valueCount(std::size_t voxels, std::int64_t layers)
{
    constexpr std::int64_t mostLayers = 10000; // each takes memory of its own
    constexpr std::int64_t mostValues = std::numeric_limits<std::int32_t>::max();
    if (layers < 1 ||
        layers > std::min(mostLayers, mostValues / static_cast<std::int64_t>(voxels))) {
        refuse("its grid has " + std::to_string(layers) + " layers");
    }
    return voxels * static_cast<std::size_t>(layers);
}

NrrdVolume readAll(ByteView file, Lists lists, const FindFile& find, const Host& host)
{
    NrrdVolume volume{parseHeader(file), {}, {}, {}, {}};
    const NrrdHeader& header = volume.header;
    volume.axes = axesOf(header, lists);
    volume.stored = geometryOf(header, volume.axes, volume.dose);
    const std::size_t count = valueCount(checkGeometry(volume.stored), volume.axes.layerCount());
    const Scaling scaling = scalingOf(header, volume.dose);
    const std::string* const name = header.findAny({"data file", "datafile"});
    Bytes companion;
    if (name != nullptr) {
        checkDataFileName(*name);
        companion = valueOf(find(*name));
    }
    const ByteView data = name == nullptr ? part(file, header.length) : companion.view();
    volume.values = valuesOf(header, data, scaling, count, host.deflate);
    return volume;
}

/** The values of one layer, in the order of the other axes. */
std::vector<float> layerOf(const NrrdVolume& volume, std::size_t layer)
{
    const auto layers = static_cast<std::size_t>(volume.axes.layerCount());
    std::size_t run = 1; // values of a layer that lie together
    for (std::size_t i = 0; i < *volume.axes.layers; ++i) {
        run *= static_cast<std::size_t>(volume.axes.sizes[i]);
    }
    std::vector<float> values(volume.values.size() / layers);
    for (std::size_t i = 0; i < values.size(); i += run) {
        std::copy_n(volume.values.data() + i * layers + layer * run, run, values.data() + i);
    }
    return values;
}

TextHeader keysOf(const NrrdHeader& header)
{
    TextHeader keys;
    for (const std::string_view line : header.keysAndValues) {
        const auto separator = line.find(":=");
        keys.add(line.substr(0, separator), line.substr(separator + 2));
    }
    return keys;
}

} // namespace

DoseImage readNrrd(ByteView file, const FindFile& find, const Host& host)
{
    NrrdVolume volume = readAll(file, Lists::refused, find, host);
    volume.dose.image = toPatientAxes(volume.stored, std::move(volume.values));
    return std::move(volume.dose);
}

NrrdLayers readNrrdLayers(ByteView file, const FindFile& find, const Host& host)
{
    NrrdVolume volume = readAll(file, Lists::layers, find, host);
    NrrdLayers layers{std::move(volume.dose), {}, keysOf(volume.header)};
    for (std::size_t i = 0; i < static_cast<std::size_t>(volume.axes.layerCount()); ++i) {
        Image image = toPatientAxes(volume.stored, volume.axes.layers ? layerOf(volume, i)
                                                                      : std::move(volume.values));
        layers.common.image.geometry = image.geometry;
        layers.values.push_back(std::move(image.values));
    }
    completeVolume(FileFormat::nrrd, layers.common);
    return layers;
}

} // namespace files
