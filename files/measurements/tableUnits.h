/**
 * @file tableUnits.h
 * The units that a table tells: in the names of its columns, and in lines that hold nothing else.
 *
 * A sentence tells none, whatever stands in it: "SSD 100 cm, plan 2 Gy" is about other lengths and
 * doses than those of the table.
 */
#ifndef ZARNGI_FILES_MEASUREMENTS_TABLEUNITS_H
#define ZARNGI_FILES_MEASUREMENTS_TABLEUNITS_H

#include <optional>
#include <string>
#include <string_view>

namespace files
{

/** Units that a text tells; none: it does not tell. */
struct ToldUnits {
    std::optional<double> gray;        ///< of one unit of dose
    std::optional<double> millimetres; ///< of one unit of length

    /** Those of both. @throws Refusal when two differ. */
    void add(const ToldUnits& other);
};

/**
 * The units of a text that holds nothing else, like "dose in Gy, mm"; none: it holds other words.
 * @throws Refusal when it tells a unit that is none of those accepted, or two of a kind.
 */
std::optional<ToldUnits> unitsAlone(std::string_view text);

/** The one unit that is all of a text: "cGy". */
std::optional<ToldUnits> unitNamed(std::string_view text);

/** The column that a cell names: "x", "Y [mm]", "dose/cGy", "z_cm"; 4: none of x, y, z, dose. */
std::size_t columnNamed(std::string_view cell);

/**
 * The units in the name of such a column; none: it tells one that is none of ours, or says what is
 * no position or dose: "x (in)", "dose (Gy/MU)", "dose rate". @throws Refusal when two differ.
 */
std::optional<ToldUnits> unitsOfName(std::string_view cell);

/**
 * A word of a sentence that may mean the unit of the coordinates, if there is one: "positions
 * counted in pixels", but neither "SSD 100 cm" nor mm, which coordinates are taken for.
 */
std::optional<std::string> doubtfulLength(std::string_view sentence);

/** Whether a line has words x and y that do not stand in the order of x, y, z, dose. */
bool namesInOtherOrder(std::string_view line);

/**
 * The units in the corner of a matrix: it is empty, or tells its axes or units; none: it says
 * something else. @throws Refusal for "x\y", too: x must run along the top.
 */
std::optional<ToldUnits> unitsOfCorner(std::string_view corner);

} // namespace files

#endif
