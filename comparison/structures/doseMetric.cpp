#include "comparison/structures/doseMetric.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

#include "comparison/failure.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

using Kind = DoseMetric::Kind;

struct Form {
    char letter;
    std::string_view unit;
    Kind kind;
    double perUnit = 1;
};

/** A unit stands before those that it ends with. */
constexpr std::array<Form, 6> forms{{{'d', "cc", Kind::doseToVolume},
                                     {'d', "%", Kind::doseToShare},
                                     {'d', "", Kind::doseToShare},
                                     {'v', "cgy", Kind::volumeAtDose, 100},
                                     {'v', "gy", Kind::volumeAtDose},
                                     {'v', "%", Kind::volumeAtPercent}}};

std::string withoutBlanks(std::string_view text)
{
    std::string plain = files::lowerCase(text);
    std::erase_if(plain, [](unsigned char c) { return std::isspace(c) != 0; });
    return plain;
}

bool isAccepted(const DoseMetric& metric)
{
    switch (metric.kind) {
    case Kind::doseToShare:
        return metric.value >= 0 && metric.value <= 100;
    case Kind::doseToVolume:
        return metric.value > 0 && metric.value < 1e9;
    default:
        return metric.value >= 0 && metric.value < 1e9;
    }
}

std::string notation(const DoseMetric& metric, const std::string& value)
{
    std::string text = (metric.isVolume() ? "V" : "D") + value;
    switch (metric.kind) {
    case Kind::doseToShare:
        return text;
    case Kind::doseToVolume:
        return text + "cc";
    case Kind::volumeAtDose:
        return text + "Gy";
    default:
        return text + "%";
    }
}

void addOnce(std::vector<DoseMetric>& metrics, const DoseMetric& metric)
{
    if (std::find(metrics.begin(), metrics.end(), metric) == metrics.end()) {
        metrics.push_back(metric);
    }
}

} // namespace

std::string DoseMetric::label() const
{
    return notation(*this, number(value));
}

std::string DoseMetric::text() const
{
    return notation(*this, exactNumber(value));
}

std::optional<DoseMetric> doseMetricOf(const std::string& text)
{
    const std::string plain = withoutBlanks(text);
    for (const Form& form : forms) {
        if (!plain.starts_with(form.letter) || !plain.ends_with(form.unit)) {
            continue;
        }
        const std::string_view value =
            std::string_view(plain).substr(1, plain.size() - 1 - form.unit.size());
        const DoseMetric metric{form.kind, parseNumber(value) / form.perUnit};
        if (isAccepted(metric)) {
            return metric;
        }
    }
    return {};
}

DoseMetric parseDoseMetric(const std::string& text)
{
    if (const std::optional<DoseMetric> metric = doseMetricOf(text)) {
        return *metric;
    }
    throw refusalOf({Member::metrics},
                    Sentence("\"") + oneLine(text) +
                        "\" is not of the form D95 (a share from 0 to 100 %), D2cc, V20Gy or V95%");
}

std::vector<DoseMetric> parseDoseMetrics(const std::vector<std::string>& lists)
{
    std::vector<DoseMetric> metrics;
    for (const std::string& list : lists) {
        for (const std::string& text : split(list, ',')) {
            addOnce(metrics, parseDoseMetric(text));
        }
    }
    return metrics;
}

std::vector<DoseMetric> withUsualMetrics(const std::vector<DoseMetric>& others)
{
    std::vector<DoseMetric> metrics{{Kind::doseToShare, 98},
                                    {Kind::doseToShare, 95},
                                    {Kind::doseToShare, 50},
                                    {Kind::doseToShare, 2},
                                    {Kind::doseToVolume, 0.03}};
    for (const DoseMetric& metric : others) {
        addOnce(metrics, metric);
    }
    return metrics;
}

} // namespace zarngi
