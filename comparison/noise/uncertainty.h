/**
 * @file uncertainty.h
 * The standard uncertainties of doses: those that their files tell, and others that are given.
 */
#ifndef ZARNGI_COMPARISON_NOISE_UNCERTAINTY_H
#define ZARNGI_COMPARISON_NOISE_UNCERTAINTY_H

#include <optional>
#include <string>
#include <vector>

#include "comparison/doseImage.h"
#include "comparison/request/member.h"

namespace zarngi
{

/** A file, or a part of each dose, where it is not that of the dose's own file. */
struct UncertaintyRequest {
    std::string text; ///< empty: not given
    std::optional<double> percent{};

    bool isFile() const { return !text.empty() && !percent; }
};

/** What the values of a file of uncertainties are. */
enum class UncertaintyUnit { percent, fraction, gray };

/** "2%" or a file; an empty text: not given. @throws UsageError at the place */
UncertaintyRequest parseUncertainty(const MemberPlace& place, const std::string& text);

/** An empty text: not given. @throws UsageError at Member::uncertaintyUnit */
std::optional<UncertaintyUnit> parseUncertaintyUnit(const std::string& text);

const char* unitName(UncertaintyUnit unit);

/**
 * Of (dose + others) * factor: noises are independent, so their squares add up. None where one of
 * the doses tells none.
 */
void combineUncertainties(DoseImage& dose, std::vector<DoseImage>& others, double factor);

/**
 * Replaces the uncertainties of a dose by those of a file.
 * @param file loses its values.
 * @param factor of the dose
 * @throws InputError
 */
void setUncertainties(DoseImage& dose, DoseImage& file, UncertaintyUnit unit, double factor);

void setUncertainties(DoseImage& dose, double percent);

} // namespace zarngi

#endif
