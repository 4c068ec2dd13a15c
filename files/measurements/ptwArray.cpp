#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <numbers>
#include <optional>

#include "files/error.h"
#include "files/measurements/matrixRows.h"
#include "files/measurements/planeHead.h"
#include "files/measurements/tables.h"
#include "files/text.h"

namespace files
{

namespace
{

struct Reading {
    double position = 0; // mm along the scan
    double dose = 0;
    std::optional<std::size_t> chamber; // its number
};

struct Scan {
    PlaneHead head;
    std::size_t number = 0; // from 1 on
    std::vector<Reading> readings;

    std::string where() const { return " in scan " + std::to_string(number); }
};

/** An array whose chambers are known: so many, in places symmetrical about their middle. */
struct KnownArray {
    std::string_view name;
    std::size_t chambers = 0;
    std::size_t side = 0; ///< places of its raster along each axis; 0: it has none
};

constexpr std::array<KnownArray, 4> knownArrays{{{"octavius_729", 729, 27},
                                                 {"octavius_1000", 977, 45},
                                                 {"octavius_1500", 1405, 53},
                                                 {"starcheck", 527, 0}}};

/** mm. Positions are written to 0.01 mm; those of diagonals are off by up to 0.0035 mm more. */
constexpr double rounding = 0.015;

/** The lines of a file, one after another, down to its last one. */
class ScanLines
{
public:
    explicit ScanLines(const std::vector<TextLine>& lines) : lines_(lines) {}

    /** The next line without the blanks around it. @throws Refusal behind the last one. */
    TextLine next()
    {
        if (isAtEnd()) {
            refuseDamaged("is cut short: it does not end with END_SCAN_DATA");
        }
        const TextLine& line = lines_[at_++];
        return {line.number, stripped(line.text)};
    }

    bool isAtEnd() const { return at_ == lines_.size(); }

private:
    const std::vector<TextLine>& lines_;
    std::size_t at_ = 0;
};

Reading readingOf(const TextLine& line)
{
    const std::vector<std::string_view> cells = cellsOf(line.text, Separator::blank);
    if (cells.size() != 2 && cells.size() != 3) {
        refuseDamaged("has " + grouped(cells.size()) + " cells in " + placeOf(line) +
                      " (accepted: position, dose and chamber)");
    }
    TableNumbers numbers(Separator::comma); // a comma is no decimal point here
    Reading reading{numbers.read(cells[0], line), numbers.read(cells[1], line), {}};
    if (cells.size() == 3 && cells[2].starts_with('#')) {
        constexpr double most = 1e6;
        const double chamber = numbers.read(cells[2].substr(1), line);
        if (!(chamber >= 1 && chamber <= most && chamber == std::floor(chamber))) {
            refuseDamaged("has a chamber \"" + excerpt(cells[2]) + "\" (" + placeOf(line) + ")");
        }
        reading.chamber = static_cast<std::size_t>(chamber);
    }
    return reading;
}

std::vector<Reading> readingsOf(ScanLines& lines)
{
    std::vector<Reading> readings;
    for (TextLine line = lines.next(); line.text != "END_DATA"; line = lines.next()) {
        readings.push_back(readingOf(line));
    }
    return readings;
}

/** Scans are numbered from 1 on: one that is missing shows. */
void checkNumber(const TextLine& line, std::string_view word, std::size_t number)
{
    if (!line.text.starts_with(word) ||
        parseNumber(stripped(line.text.substr(word.size()))) != static_cast<double>(number)) {
        refuseDamaged("has \"" + excerpt(line.text) + "\" where " + std::string(word) + " " +
                      std::to_string(number) + " should stand (" + placeOf(line) + ")");
    }
}

Scan scanOf(ScanLines& lines, std::size_t number)
{
    Scan scan{PlaneHead(" in scan " + std::to_string(number)), number, {}};
    for (TextLine line = lines.next(); !line.text.starts_with("END_SCAN"); line = lines.next()) {
        if (line.text == "BEGIN_DATA") {
            scan.readings = readingsOf(lines);
            checkNumber(lines.next(), "END_SCAN", number);
            break;
        }
        scan.head.add(line, '=');
    }
    if (scan.readings.empty()) {
        refuseDamaged("has no readings" + scan.where());
    }
    return scan;
}

std::vector<Scan> scansOf(const std::vector<TextLine>& text)
{
    ScanLines lines(text);
    if (lines.next().text != "BEGIN_SCAN_DATA") {
        refuseDamaged("does not begin with BEGIN_SCAN_DATA");
    }
    PlaneHead head;
    std::vector<Scan> scans;
    for (TextLine line = lines.next(); line.text != "END_SCAN_DATA"; line = lines.next()) {
        if (!line.text.starts_with("BEGIN_SCAN")) {
            head.add(line, '=');
            continue;
        }
        checkNumber(line, "BEGIN_SCAN", scans.size() + 1);
        scans.push_back(scanOf(lines, scans.size() + 1));
    }
    if (!lines.isAtEnd()) {
        refuseDamaged("goes on behind END_SCAN_DATA (" + placeOf(lines.next()) + ")");
    }
    const std::string& format = head.need("FORMAT");
    if (!format.starts_with("CC-Export V1.")) {
        refuseUnsupported("has a FORMAT of \"" + excerpt(format) + "\" (accepted: CC-Export V1.9)");
    }
    if (scans.empty()) {
        refuseDamaged("holds no scan");
    }
    return scans;
}

/** Refuses scans of single detectors, which are no measurement of an array. */
void checkIsArray(const std::vector<Scan>& scans)
{
    std::size_t readings = 0;
    std::size_t chambers = 0;
    for (const Scan& scan : scans) {
        readings += scan.readings.size();
        chambers += static_cast<std::size_t>(
            std::count_if(scan.readings.begin(), scan.readings.end(),
                          [](const Reading& reading) { return reading.chamber.has_value(); }));
    }
    if (chambers == readings) {
        return;
    }
    if (chambers > 0) {
        refuseDamaged("names chambers of " + grouped(chambers) + " of its " + grouped(readings) +
                      " readings, not of all");
    }
    const PlaneHead& head = scans.front().head;
    const std::string* const medium = head.find("MEAS_MEDIUM");
    const std::string* const unit = head.find("MEAS_UNIT");
    refuseUnsupported(
        std::string("is a PTW scan ") +
        (medium != nullptr && lowerCase(*medium) == "water" ? "in a water tank"
                                                            : "by a single detector") +
        (unit != nullptr ? ", in " + excerpt(*unit) : "") +
        "; of such, write places and doses in Gy into a table with columns x, y, z, dose");
}

/** What all scans of one measurement have in common. */
void checkAlike(const std::vector<Scan>& scans)
{
    for (const char* const key : {"MEAS_UNIT", "DETECTOR", "DETECTOR_SN", "SCAN_DEPTH"}) {
        const std::string* const first = scans.front().head.find(key);
        for (const Scan& scan : scans) {
            const std::string* const entry = scan.head.find(key);
            if ((entry == nullptr) != (first == nullptr) ||
                (first != nullptr && *entry != *first)) {
                refuseUnsupported(std::string("tells another ") + key + scan.where() +
                                  " than in scan 1; export one measurement alone");
            }
        }
    }
}

void checkUnit(const PlaneHead& head)
{
    const std::string& unit = head.need("MEAS_UNIT");
    if (lowerCase(unit) != "gy") {
        refuseUnsupported("is measured by a PTW array in " + excerpt(unit) +
                          "; calibrate it to dose and export it in Gy");
    }
}

/** Refuses scans whose axes point otherwise than those of arrays do. */
void checkAxes(const Scan& scan, bool isSecondDiagonal)
{
    if (scan.head.number("SCAN_ANGLE") != 0) {
        refuseUnsupported("has a SCAN_ANGLE other than 0" + scan.where());
    }
    const std::array<std::pair<const char*, const char*>, 2> axes{
        {{"CROSSPLANE_AXIS_DIR", "left_right"},
         {"INPLANE_AXIS_DIR", isSecondDiagonal ? "gun_target" : "target_gun"}}};
    for (const auto& [key, expected] : axes) {
        const std::string& entry = scan.head.need(key);
        if (lowerCase(entry) != expected) {
            refuseDamaged("has " + std::string(key) + " \"" + excerpt(entry) + "\"" + scan.where() +
                          ", which no array has there");
        }
    }
}

/** Where the readings of a scan lie: the positions times `along`, from `start`. */
struct ScanLine {
    Vec3 start{};
    Vec3 along{};
    bool isDiagonal = false;
};

/** Diagonals pass through the middle; a position is the distance from there. */
ScanLine diagonalOf(const Scan& scan, double side)
{
    for (const char* const key : {"SCAN_OFFAXIS_CROSSPLANE", "SCAN_OFFAXIS_INPLANE"}) {
        if (scan.head.find(key) != nullptr && scan.head.number(key) != 0) {
            refuseUnsupported("has a diagonal off the middle" + scan.where());
        }
    }
    constexpr double share = std::numbers::sqrt2 / 2;
    return {{}, {side * share, share, 0}, true};
}

ScanLine lineOf(const Scan& scan)
{
    const std::string diagonal = lowerCase(scan.head.need("SCAN_DIAGONAL"));
    const std::string type = lowerCase(scan.head.need("SCAN_CURVETYPE"));
    const bool isSecond = diagonal == "second_diagonal";
    if (!isSecond && diagonal != "first_diagonal" && diagonal != "not_diagonal") {
        refuseUnsupported("has a SCAN_DIAGONAL of \"" + excerpt(scan.head.need("SCAN_DIAGONAL")) +
                          "\"" + scan.where());
    }
    if (type != "crossplane_profile" && type != "inplane_profile") {
        refuseUnsupported("has a SCAN_CURVETYPE of \"" + excerpt(scan.head.need("SCAN_CURVETYPE")) +
                          "\"" + scan.where() + " (accepted: CROSSPLANE_PROFILE, INPLANE_PROFILE)");
    }
    checkAxes(scan, isSecond);
    if (diagonal != "not_diagonal") {
        return diagonalOf(scan, isSecond ? -1 : 1);
    }
    if (type == "crossplane_profile") {
        return {{0, scan.head.number("SCAN_OFFAXIS_INPLANE"), 0}, {1, 0, 0}};
    }
    return {{scan.head.number("SCAN_OFFAXIS_CROSSPLANE"), 0, 0}, {0, 1, 0}};
}

/** Places on diagonals are rounded to 0.01 mm, where they are those of the other scans. */
Vec3 placeOn(const ScanLine& line, double position)
{
    Vec3 place{};
    for (std::size_t axis = 0; axis < 2; ++axis) {
        const double at = line.start[axis] + position * line.along[axis];
        place[axis] = (line.isDiagonal ? std::round(at * 100) / 100 : at) + 0.0; // no minus at 0
    }
    return place;
}

struct Chamber {
    Vec3 place{};
    double dose = 0;
};

bool areClose(const Vec3& a, const Vec3& b)
{
    return std::fabs(a[0] - b[0]) <= rounding && std::fabs(a[1] - b[1]) <= rounding;
}

/** The chambers by their numbers; some stand in several scans, with the same dose. */
std::map<std::size_t, Chamber> chambersOf(const std::vector<Scan>& scans)
{
    std::map<std::size_t, Chamber> chambers;
    for (const Scan& scan : scans) {
        const ScanLine line = lineOf(scan);
        for (const Reading& reading : scan.readings) {
            const Chamber chamber{placeOn(line, reading.position), reading.dose};
            const auto [known, isNew] = chambers.emplace(*reading.chamber, chamber);
            if (!isNew && (known->second.dose != chamber.dose ||
                           !areClose(known->second.place, chamber.place))) {
                refuseDamaged("tells chamber " + std::to_string(*reading.chamber) +
                              " twice, with two doses or in two places" + scan.where());
            }
        }
    }
    return chambers;
}

/** Refuses places without one opposite: a position of one of the two is damaged. */
void checkSymmetry(const std::map<std::size_t, Chamber>& chambers)
{
    constexpr double tolerance = 2 * rounding;
    constexpr double lowestOfAll = -1e9;
    std::vector<Vec3> places;
    places.reserve(chambers.size());
    for (const auto& [number, chamber] : chambers) {
        places.push_back(chamber.place);
    }
    std::sort(places.begin(), places.end());
    const auto [lowest, highest] = std::minmax_element(
        places.begin(), places.end(), [](const Vec3& a, const Vec3& b) { return a[1] < b[1]; });
    const Vec3 sum{places.front()[0] + places.back()[0], (*lowest)[1] + (*highest)[1], 0};
    for (const auto& [number, chamber] : chambers) {
        const Vec3 opposite{sum[0] - chamber.place[0], sum[1] - chamber.place[1], 0};
        auto at = std::lower_bound(places.begin(), places.end(),
                                   Vec3{opposite[0] - tolerance, lowestOfAll, 0});
        while (at != places.end() && (*at)[0] <= opposite[0] + tolerance &&
               std::fabs((*at)[1] - opposite[1]) > tolerance) {
            ++at;
        }
        if (at == places.end() || (*at)[0] > opposite[0] + tolerance) {
            refuseDamaged("has chamber " + std::to_string(number) +
                          " in a place that has no other one opposite; a position may be damaged");
        }
    }
}

DoseImage onKnown(const KnownArray& array, const std::map<std::size_t, Chamber>& chambers,
                  DosePoints points)
{
    if (chambers.size() != array.chambers) {
        refuseDamaged("has " + grouped(chambers.size()) + " chambers, where its array has " +
                      grouped(array.chambers) +
                      "; it may be incomplete, or of several measurements");
    }
    checkSymmetry(chambers);
    DoseImage dose = gridOf(std::move(points));
    const std::array<int, 3>& size = dose.image.geometry.size;
    const auto side = static_cast<int>(array.side);
    if (dose.isPoints() != (side == 0) || (side != 0 && (size[0] != side || size[1] != side))) {
        refuseDamaged("has chambers in other places than its array; a position may be damaged");
    }
    return dose;
}

void warnOf(DoseImage& dose, const PlaneHead& head)
{
    const std::array<std::pair<const char*, double>, 3> expected{
        {{"COLL_OFFSET_CROSSPLANE", 0}, {"COLL_OFFSET_INPLANE", 0}, {"CORRECTION_FACTOR", 1}}};
    for (const auto& [key, usual] : expected) {
        if (head.find(key) != nullptr && head.number(key) != usual) {
            dose.warnings.push_back("tells " + std::string(key) + " " + number(head.number(key)) +
                                    ", which is not taken into account");
        }
    }
}

} // namespace

DoseImage readPtwArray(ByteView file)
{
    const std::vector<Scan> scans = scansOf(textLines(file));
    checkIsArray(scans);
    checkAlike(scans);
    const PlaneHead& head = scans.front().head;
    checkUnit(head);
    const std::string& detector = head.need("DETECTOR");
    const std::map<std::size_t, Chamber> chambers = chambersOf(scans);
    DosePoints points;
    points.rounding = rounding;
    for (const auto& [number, chamber] : chambers) {
        points.places.push_back(chamber.place);
        points.values.push_back(toGray(chamber.dose, 1));
    }
    const auto* const known =
        std::find_if(knownArrays.begin(), knownArrays.end(),
                     [&](const KnownArray& array) { return array.name == lowerCase(detector); });
    const bool isKnown = known != knownArrays.end();
    DoseImage dose =
        isKnown ? onKnown(*known, chambers, std::move(points)) : gridOf(std::move(points));
    if (!isKnown) {
        dose.warnings.push_back("is measured by an array \"" + excerpt(detector) +
                                "\", whose chambers are not known; whether it is whole is not "
                                "known, either");
    }
    warnOf(dose, head);
    return dose;
}

} // namespace files
