/**
 * @file csvCells.h
 * Cells of tables for spreadsheets, after RFC 4180.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_CSVCELLS_H
#define ZARNGI_COMPARISON_DOCUMENTS_CSVCELLS_H

#include <optional>
#include <string>
#include <vector>

#include "comparison/goals/goalResult.h"
#include "comparison/request/header.h"
#include "comparison/structures/doseVolume.h"

namespace zarngi
{

using Cells = std::vector<std::string>;

constexpr int csvDigits = 9; // as many as a float holds

/** A line of the table, with its end. */
std::string csvRow(const Cells& cells);

/** Empty where there is no value. */
std::string csvCell(const std::optional<double>& value);

void append(Cells& cells, const Cells& more);

/** Names and texts of the fields that a header tells: "header_plan". */
Cells headerNames(const Header& header);
Cells headerCells(const Header& header);

/** Names of the figures of a dose: "PREFIX_dose_min" (or "dose_min"), "PREFIX_D95". */
Cells doseNames(const std::string& prefix, const std::vector<DoseMetric>& metrics);
Cells doseCells(const std::optional<DoseVolume>& dose, std::size_t metrics);

/** Of a goal, and of its figures of two doses and the difference, or of one. */
Cells goalNames(bool hasPair);
Cells goalCells(const Goal& goal, const GoalResult& result, bool hasPair);

} // namespace zarngi

#endif
