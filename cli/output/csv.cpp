#include "cli/output/csv.h"

#include <vector>

#include "comparison/text.h"

namespace zarngi
{

namespace
{

constexpr const char* lineEnd = "\r\n";

std::string quoted(const std::string& text)
{
    if (text.find_first_of(",\"\r\n") == std::string::npos) {
        return text;
    }
    std::string result(1, '"');
    for (const char c : text) {
        result.append(c == '"' ? 2 : 1, c);
    }
    return result += '"';
}

std::string row(const std::vector<std::string>& cells)
{
    std::string text;
    for (const std::string& cell : cells) {
        text += text.empty() ? "" : ",";
        text += quoted(cell);
    }
    return text += lineEnd;
}

std::string resultRow(const CriterionResult& result, const Comparison& comparison)
{
    constexpr int digits = 9; // as many as a float holds
    const GammaStatistics& statistics = result.statistics;
    const auto gamma = [&statistics](double GammaSpread::*member) {
        return statistics.spread ? number((*statistics.spread).*member, digits) : std::string();
    };
    return row({comparison.reference.path,
                comparison.evaluation.path,
                result.criterion.label(),
                number(result.criterion.doseDifference),
                number(result.criterion.distance),
                result.criterion.isLocal ? "local" : "global",
                number(comparison.settings.cutOff),
                number(comparison.cutOffDose(), digits),
                number(comparison.normalisation(), digits),
                std::to_string(statistics.tested),
                std::to_string(statistics.passed),
                std::to_string(statistics.failed),
                fixed(statistics.passRate, 6),
                gamma(&GammaSpread::minimum),
                gamma(&GammaSpread::mean),
                gamma(&GammaSpread::percentile95),
                gamma(&GammaSpread::percentile99),
                gamma(&GammaSpread::maximum),
                fixed(result.seconds, 3),
                verdictName(result.verdict),
                std::to_string(statistics.sides.hot),
                std::to_string(statistics.sides.cold)});
}

} // namespace

std::string comparisonCsv(const Comparison& comparison)
{
    std::string text = row({"reference",
                            "evaluation",
                            "criterion",
                            "dd_percent",
                            "dta_mm",
                            "dd_mode",
                            "dco_percent",
                            "cutoff_dose",
                            "normalisation_dose",
                            "tested",
                            "passed",
                            "failed",
                            "pass_rate_percent",
                            "gamma_min",
                            "gamma_mean",
                            "gamma_p95",
                            "gamma_p99",
                            "gamma_max",
                            "seconds",
                            "verdict",
                            "failed_hot",
                            "failed_cold"});
    for (const CriterionResult& result : comparison.results) {
        text += resultRow(result, comparison);
    }
    return text;
}

} // namespace zarngi
