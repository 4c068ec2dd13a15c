#include "cli/output/gammaFigures.h"

#include "cli/output/columns.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

constexpr std::size_t columnWidth = 7;

} // namespace

std::string gammaText(double gamma, double limit)
{
    return gamma > limit ? "above " + number(limit) : number(gamma);
}

std::string meanText(const GammaStatistics& statistics)
{
    return (statistics.beyondLimit > 0 ? "at most " : "") + number(statistics.spread->mean);
}

std::string gammaCell(double gamma, double limit)
{
    std::string beyond = ">";
    beyond += number(limit, 4);
    return cell(gamma > limit ? beyond : fixed(gamma, 3), columnWidth);
}

std::string meanCell(const GammaStatistics& statistics)
{
    const double mean = statistics.spread->mean;
    return cell(statistics.beyondLimit > 0 ? "<=" + fixed(mean, 2) : fixed(mean, 3), columnWidth);
}

std::string failedText(const GammaStatistics& statistics)
{
    std::string text = std::to_string(statistics.failed) + ": " +
                       std::to_string(statistics.sides.hot) + " hot, " +
                       std::to_string(statistics.sides.cold) + " cold";
    if (statistics.unreached > 0) {
        text += ", " + std::to_string(statistics.unreached) + " without evaluation dose in reach";
    }
    const std::size_t rest = statistics.onNeitherSide();
    return rest > 0 ? text + ", " + std::to_string(rest) + " on neither side" : text;
}

} // namespace zarngi
