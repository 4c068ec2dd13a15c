#include "files/measurements/tableUnits.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "files/error.h"
#include "files/formats/textHeader.h"
#include "files/text.h"

namespace files
{

namespace
{

using Words = std::vector<std::string>;

constexpr std::array<std::pair<std::string_view, double>, 4> doses{
    {{"gy", 1}, {"gray", 1}, {"cgy", 1.0 / 100}, {"centigray", 1.0 / 100}}};
constexpr std::array<std::pair<std::string_view, double>, 10> lengths{{{"mm", 1},
                                                                       {"millimetre", 1},
                                                                       {"millimetres", 1},
                                                                       {"millimeter", 1},
                                                                       {"millimeters", 1},
                                                                       {"cm", 10},
                                                                       {"centimetre", 10},
                                                                       {"centimetres", 10},
                                                                       {"centimeter", 10},
                                                                       {"centimeters", 10}}};

/** Units that are none of ours. What is missing here is a word like any other. */
constexpr std::array<std::string_view, 60> otherUnits{
    "(in)",       "%",          "percent",     "percentage", "mgy",         "kgy",   "ugy",
    "\xC2\xB5gy", "\xCE\xBCgy", "dgy",         "ngy",        "rad",         "rads",  "crad",
    "rem",        "sv",         "msv",         "ev",         "kev",         "mev",   "mu",
    "a.u",        "au",         "count",       "counts",     "cnt",         "cts",   "nc",
    "pc",         "od",         "m",           "km",         "dm",          "metre", "metres",
    "meter",      "meters",     "um",          "\xC2\xB5m",  "\xCE\xBCm",   "nm",    "micron",
    "microns",    "micrometre", "micrometres", "micrometer", "micrometers", "inch",  "inches",
    "ft",         "foot",       "feet",        "px",         "pix",         "pixel", "pixels",
    "voxel",      "voxels",     "deg",         "degrees"};

/** What may stand beside units in a line that holds nothing else. */
constexpr std::array<std::string_view, 31> besideUnits{
    "dose",        "doses",    "unit",      "units",   "length",   "lengths", "coordinate",
    "coordinates", "position", "positions", "spatial", "absorbed", "values",  "value",
    "axis",        "axes",     "x",         "y",       "z",        "y\\x",    "y/x",
    "y|x",         "in",       "is",        "are",     "given",    "and",     "or",
    "of",          "the",      "all"};

/** What may stand beside the name and the unit of a column. */
constexpr std::array<std::string_view, 27> besideNames{
    "in",         "position", "positions", "pos",    "coordinate", "coordinates", "coord",
    "coords",     "axis",     "value",     "values", "unit",       "units",       "absorbed",
    "to",         "water",    "medium",    "tissue", "measured",   "measurement", "planned",
    "calculated", "film",     "plan",      "tps",    "mean",       "point"};

/** Lengths that a sentence may mean the coordinates by, where no number stands before them. */
constexpr std::array<std::string_view, 19> lengthsOfSentences{
    "(in)",    "cm",         "centimetre",  "centimetres", "centimeter", "centimeters", "inch",
    "inches",  "metre",      "metres",      "meter",       "meters",     "um",          "micron",
    "microns", "micrometre", "micrometres", "micrometer",  "micrometers"};

/** Those that it means them by wherever they stand. */
constexpr std::array<std::string_view, 7> raster{"px",    "pix",    "pixel", "pixels",
                                                 "voxel", "voxels", "dpi"};

constexpr std::array<std::string_view, 4> columns{"x", "y", "z", "dose"};

constexpr std::array<std::string_view, 5> axesOfCorners{"x", "y", "y\\x", "y/x", "y|x"};

template <class List> bool holds(const List& list, std::string_view word)
{
    return std::find(list.begin(), list.end(), word) != list.end();
}

/** An inch, in words of a text: "[in, Gy]"; "in" is the word of "in Gy". */
constexpr std::string_view inch = "(in)";

/** Whether "in" that ends there leads to a unit, as in "dose in Gy", "in: mm", "dose_in_Gy". */
bool leadsOn(std::string_view text, std::size_t end)
{
    const auto next = std::min(text.find_first_not_of(" \t:=_", end), text.size());
    return next > end && next < text.size() &&
           std::string_view(",;)]}").find(text[next]) == std::string_view::npos;
}

/** In lower case, without what sets words apart or ends a sentence. */
Words wordsOf(std::string_view text, const std::string& more = "")
{
    const std::string apart = " \t,;:=()[]{}\"'" + more;
    Words words;
    for (auto start = text.find_first_not_of(apart); start != std::string_view::npos;) {
        const auto end = std::min(text.find_first_of(apart, start), text.size());
        const std::string_view written = text.substr(start, end - start);
        std::string word = lowerCase(written);
        while (word.size() > 1 && word.back() == '.') {
            word.pop_back();
        }
        // "M" is an initial or a patient's sex more often than a unit.
        const bool isMetre = written == "m";
        const bool isInch = word == "in" && !leadsOn(text, end);
        words.push_back(isMetre ? "metre" : isInch ? std::string(inch) : word);
        start = text.find_first_not_of(apart, end);
    }
    return words;
}

void set(std::optional<double>& unit, const std::optional<double>& value, const char* what)
{
    if (unit && value && *unit != *value) {
        refuseDamaged(std::string("tells two units of ") + what);
    }
    unit = value ? value : unit;
}

/** The unit of ours that a word is. */
std::optional<ToldUnits> unitOf(std::string_view word)
{
    ToldUnits units;
    for (const auto& [name, gray] : doses) {
        if (word == name) {
            units.gray = gray;
        }
    }
    for (const auto& [name, millimetres] : lengths) {
        if (word == name) {
            units.millimetres = millimetres;
        }
    }
    return units.gray || units.millimetres ? std::optional(units) : std::nullopt;
}

/** Whether a word is a unit of others, also one made of several: "%", "cGy/MU". */
bool isOtherUnit(std::string_view word)
{
    const auto slash = word.find('/');
    const std::string_view first = word.substr(0, slash);
    return holds(otherUnits, first) ||
           (slash != std::string_view::npos && unitOf(first) && slash + 1 < word.size());
}

bool hasDigit(std::string_view text)
{
    return text.find_first_of("0123456789") != std::string_view::npos;
}

/** Whether a line says that it tells units: "Dose units: arbitrary", "Units = steps". */
bool announcesUnits(const Words& words)
{
    constexpr std::array<std::string_view, 8> what{
        "dose", "doses", "length", "lengths", "position", "positions", "coordinate", "coordinates"};
    const auto isUnit = [&words](std::size_t i) {
        return words.size() > i + 1 && (words[i] == "unit" || words[i] == "units");
    };
    return (!words.empty() && words[0] == "units" && isUnit(0)) ||
           (!words.empty() && holds(what, words[0]) && isUnit(1));
}

std::optional<ToldUnits> unitsAlone(const Words& words, std::string_view text)
{
    const bool isAlone = std::all_of(words.begin(), words.end(), [](const std::string& word) {
        return unitOf(word) || holds(besideUnits, word) || isOtherUnit(word);
    });
    if (!isAlone && (!announcesUnits(words) || hasDigit(text))) {
        return {};
    }
    if (!isAlone || std::any_of(words.begin(), words.end(), isOtherUnit)) {
        refuseUnsupported("tells its units as \"" + excerpt(trimmed(text)) +
                          "\" (accepted: Gy, cGy, mm, cm)");
    }
    ToldUnits units;
    for (const std::string& word : words) {
        units.add(unitOf(word).value_or(ToldUnits{}));
    }
    return units;
}

/** Where x and y stand among the words of a corner; the order of its axes. */
struct CornerAxes {
    bool hasBoth = false;
    bool isTransposed = false;
};

CornerAxes axesOf(const Words& words)
{
    const auto x = std::find(words.begin(), words.end(), "x");
    const auto y = std::find(words.begin(), words.end(), "y");
    const bool hasBoth = x != words.end() && y != words.end();
    return {hasBoth, hasBoth && x < y};
}

std::size_t endOfName(std::string_view cell)
{
    return std::min(cell.find_first_of(" [(/_"), cell.size());
}

/** The words of a corner without what stands between its axes. */
Words wordsOfCorner(std::string_view corner)
{
    const CornerAxes axes = axesOf(wordsOf(corner, "\\|/"));
    if (axes.isTransposed) {
        refuseUnsupported(
            "has \"" + excerpt(corner) +
            "\" in the corner of its matrix, whose columns are x and whose rows are y: write "
            "y\\x");
    }
    Words words = wordsOf(corner, "\\|");
    if (axes.hasBoth) {
        words.erase(std::remove(words.begin(), words.end(), "/"), words.end());
    }
    return words;
}

} // namespace

void ToldUnits::add(const ToldUnits& other)
{
    set(gray, other.gray, "dose");
    set(millimetres, other.millimetres, "length");
}

std::optional<ToldUnits> unitsAlone(std::string_view text)
{
    return unitsAlone(wordsOf(text), text);
}

std::optional<ToldUnits> unitNamed(std::string_view text)
{
    return unitOf(lowerCase(trimmed(text)));
}

std::size_t columnNamed(std::string_view cell)
{
    const std::string name = lowerCase(cell.substr(0, endOfName(cell)));
    return static_cast<std::size_t>(std::find(columns.begin(), columns.end(), name) -
                                    columns.begin());
}

std::optional<ToldUnits> unitsOfName(std::string_view cell)
{
    std::string_view rest = stripped(cell.substr(endOfName(cell)));
    rest.remove_prefix(rest.starts_with('/') ? 1 : 0);
    const Words words = wordsOf(rest, "_");
    ToldUnits units;
    for (const std::string& word : words) {
        const std::optional<ToldUnits> unit = unitOf(word);
        if (!unit && !holds(besideNames, word)) {
            return {};
        }
        units.add(unit.value_or(ToldUnits{}));
    }
    const bool isInInches = rest.find('"') != std::string_view::npos;
    const bool isDose = columnNamed(cell) == columns.size() - 1;
    const bool hasOwn = isDose ? units.gray.has_value() : units.millimetres.has_value();
    const bool hasAny = units.gray || units.millimetres;
    return isInInches || (hasAny && !hasOwn) ? std::nullopt : std::optional(units);
}

std::optional<std::string> doubtfulLength(std::string_view sentence)
{
    const Words words = wordsOf(sentence);
    for (std::size_t i = 0; i < words.size(); ++i) {
        const bool isMeasured = i > 0 && hasDigit(words[i - 1]);
        if (holds(raster, words[i]) || (!isMeasured && holds(lengthsOfSentences, words[i]))) {
            return words[i];
        }
    }
    return {};
}

std::optional<ToldUnits> unitsOfCorner(std::string_view corner)
{
    const Words words = wordsOfCorner(corner);
    // "Dose" before 2 and 4 is an entry of a head.
    const bool tells = std::any_of(words.begin(), words.end(), [](const std::string& word) {
        return unitOf(word) || isOtherUnit(word) || holds(axesOfCorners, word);
    });
    return words.empty() || tells ? unitsAlone(words, corner) : std::nullopt;
}

bool namesInOtherOrder(std::string_view line)
{
    const Words words = wordsOf(line, "\\|/");
    std::size_t last = 0;
    bool isOther = false;
    for (const std::string_view column : columns) {
        const auto at =
            static_cast<std::size_t>(std::find(words.begin(), words.end(), column) - words.begin());
        if (at < words.size()) {
            isOther = isOther || at < last;
            last = at;
        }
    }
    return isOther && holds(words, "x") && holds(words, "y");
}

} // namespace files
