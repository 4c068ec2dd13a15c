#include "files/simulations/topasHead.h"

#include <algorithm>
#include <array>
#include <map>

#include "files/error.h"
#include "files/formats/textHeader.h"
#include "files/measurements/tableText.h"
#include "files/simulations/simulations.h"
#include "files/text.h"

namespace files
{

namespace
{

constexpr std::string_view mark = "# TOPAS Version:";

/** A line like "X in 4 bins of 0.75 cm". */
struct BinLine {
    std::string axis;
    std::string_view count;
    std::string_view width;
    std::string_view unit;
};

/** The entries of a head, as far as they matter. */
struct Entries {
    std::vector<BinLine> bins;
    std::string_view scored;  ///< "DoseToMedium ( Gy ) : Sum   Mean"
    std::string_view binning; ///< beside that by places
};

std::optional<BinLine> binLine(std::string_view line)
{
    constexpr std::size_t words = 7;
    const auto cells = cellsOf(line, Separator::blank);
    const bool isOne = cells.size() == words && cells[1] == "in" &&
                       (cells[3] == "bin" || cells[3] == "bins") && cells[4] == "of";
    return isOne ? std::optional<BinLine>({std::string(cells[0]), cells[2], cells[5], cells[6]})
                 : std::nullopt;
}

/** Lines that tell nothing of the values, and may hold anything. */
bool isRemark(std::string_view line)
{
    constexpr std::array<std::string_view, 6> remarks = {
        "TOPAS Version:", "Parameter File:", "Results for scorer",
        "Filtered by",    "Scored in",       "Scored on"};
    return std::any_of(remarks.begin(), remarks.end(),
                       [line](std::string_view remark) { return line.starts_with(remark); });
}

void take(Entries& entries, TopasHead& head, std::string_view line)
{
    constexpr std::string_view binary = "Binary file:";
    if (isRemark(line)) {
        return;
    }
    if (const std::optional<BinLine> bins = binLine(line)) {
        entries.bins.push_back(*bins);
    } else if (line.starts_with(binary)) {
        head.binaryName = trimmed(line.substr(binary.size()));
    } else if (line.starts_with("Showing only rows")) {
        head.isSparse = true;
    } else if (line.starts_with("Using single index")) {
        head.hasSingleIndex = true;
    } else if (line.starts_with("Binned by")) {
        entries.binning = line;
    } else if (line.find(" : ") != std::string_view::npos) {
        if (!entries.scored.empty()) {
            refuseUnsupported("tells two quantities of a TOPAS scorer");
        }
        entries.scored = line;
    }
}

void checkAxes(const std::vector<BinLine>& bins)
{
    if (bins.empty()) {
        refuseUnsupported(
            "is a single value of a TOPAS scorer, without bins; divide its component into bins "
            "along X, Y and Z");
    }
    std::vector<std::string> axes;
    for (const BinLine& line : bins) {
        axes.push_back(line.axis);
    }
    if (axes != std::vector<std::string>{"X", "Y", "Z"}) {
        refuseUnsupported("is scored by TOPAS in bins along " + excerpt(join(axes, ", ")) +
                          ", not along X, Y, Z; score the dose in a box");
    }
}

StoredGeometry gridOf(const std::vector<BinLine>& bins)
{
    StoredGeometry grid;
    grid.axes = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const BinLine& line = bins[axis];
        const std::optional<double> unit = millimetresOf(line.unit);
        if (!unit) {
            refuseEntry("a unit of length", line.unit);
        }
        grid.size[axis] = wholeNumbersOf(line.count, "a number of bins", 1)[0];
        grid.spacing[axis] = numbersOf(line.width, "a width of bins", 1)[0] * *unit;
        grid.origin[axis] = -static_cast<double>(grid.size[axis] - 1) / 2 * grid.spacing[axis];
    }
    return grid;
}

TopasStatistics statisticsOf(std::string_view list)
{
    static const std::map<std::string_view, std::optional<std::size_t> TopasStatistics::*> names = {
        {"Sum", &TopasStatistics::sum},
        {"Mean", &TopasStatistics::mean},
        {"Histories_with_Scorer_Active", &TopasStatistics::histories},
        {"Standard_Deviation", &TopasStatistics::deviation},
        {"Count_in_Bin", nullptr},
        {"Second_Moment", nullptr},
        {"Variance", nullptr},
        {"Min", nullptr},
        {"Max", nullptr}};
    TopasStatistics statistics;
    for (const std::string_view word : cellsOf(list, Separator::blank)) {
        const auto name = names.find(word);
        if (name == names.end()) {
            refuseDamaged("has \"" + excerpt(word) + "\" where TOPAS names a statistic");
        }
        if (name->second != nullptr) {
            std::optional<std::size_t>& column = statistics.*(name->second);
            if (column) {
                refuseDamaged("names " + std::string(word) + " twice");
            }
            column = statistics.count;
        }
        ++statistics.count;
    }
    if (!statistics.sum && !statistics.mean) {
        refuseUnsupported("tells neither the Sum nor the Mean of its doses; have TOPAS report Sum");
    }
    return statistics;
}

/** The list of statistics behind a quantity, which must be a dose. */
std::string_view listOf(std::string_view scored)
{
    if (scored.empty()) {
        refuseDamaged("is a head of TOPAS that does not tell what was scored");
    }
    const auto colon = scored.find(" : ");
    const auto words = cellsOf(scored.substr(0, colon), Separator::blank);
    const bool isDose = words.size() == 4 && words[0].starts_with("DoseTo") && words[1] == "(" &&
                        words[2] == "Gy" && words[3] == ")";
    if (!isDose) {
        refuseUnsupported("holds " + excerpt(stripped(scored.substr(0, colon))) +
                          ", scored by TOPAS, no dose; score DoseToMedium or DoseToWater, in Gy");
    }
    return scored.substr(colon + 3);
}

} // namespace

bool startsLikeTopas(std::string_view beginning)
{
    return beginning.starts_with(mark);
}

TopasHead readTopasHead(ByteView file)
{
    TopasHead head;
    Entries entries;
    Lines lines(file);
    while (head.length < file.size() && file[head.length] == '#') {
        take(entries, head, stripped(lines.next()->substr(1)));
        head.length = lines.position();
        ++head.lines;
    }
    checkAxes(entries.bins);
    const std::string_view list = listOf(entries.scored);
    if (!entries.binning.empty()) {
        refuseUnsupported("is binned by more than places (\"" + excerpt(entries.binning) +
                          "\"); have TOPAS score the dose without");
    }
    head.grid = gridOf(entries.bins);
    head.statistics = statisticsOf(list);
    return head;
}

} // namespace files
