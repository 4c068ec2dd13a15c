/**
 * @file doseMetric.h
 * Figures of a dose-volume histogram, by their usual names.
 */
#ifndef ZARNGI_COMPARISON_STRUCTURES_DOSEMETRIC_H
#define ZARNGI_COMPARISON_STRUCTURES_DOSEMETRIC_H

#include <optional>
#include <string>
#include <vector>

namespace zarngi
{

struct DoseMetric {
    enum class Kind {
        doseToShare,    ///< D95: the dose that 95 % of the volume reach
        doseToVolume,   ///< D2cc: the dose that 2 cc reach
        volumeAtDose,   ///< V20Gy: % of the volume that reach 20 Gy
        volumeAtPercent ///< V95%: % of the volume that reach 95 % of the prescription
    };

    Kind kind = Kind::doseToShare;
    double value = 0; ///< %, cc or Gy

    bool isVolume() const { return kind == Kind::volumeAtDose || kind == Kind::volumeAtPercent; }
    /** As it is usually written: "D95", "D2cc", "V20Gy", "V95%". */
    std::string label() const;
    /** The label with all digits of its value. */
    std::string text() const;

    friend bool operator==(const DoseMetric&, const DoseMetric&) = default;
};

/** Reads D95 (or D95%), D2cc, V20Gy, V2000cGy or V95%; case and blanks do not matter. */
std::optional<DoseMetric> doseMetricOf(const std::string& text);

/** @throws UsageError at Member::metrics */
DoseMetric parseDoseMetric(const std::string& text);

/**
 * Those of lists like "D99,V20Gy,V95%", each once.
 * @throws UsageError at Member::metrics
 */
std::vector<DoseMetric> parseDoseMetrics(const std::vector<std::string>& lists);

/** D98, D95, D50, D2 and D0.03cc, and others that are asked for beside them. */
std::vector<DoseMetric> withUsualMetrics(const std::vector<DoseMetric>& others);

} // namespace zarngi

#endif
