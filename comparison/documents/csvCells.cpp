#include "comparison/documents/csvCells.h"

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

/** "patientName" as "patient_name". */
std::string inWords(const std::string& name)
{
    std::string text;
    for (const char c : name) {
        const bool isCapital = c >= 'A' && c <= 'Z';
        text += isCapital ? std::string{'_', static_cast<char>(c - 'A' + 'a')} : std::string(1, c);
    }
    return text;
}

Cells partCells(const GoalPart& part)
{
    return {csvCell(part.value), csvCell(part.margin)};
}

} // namespace

std::string csvRow(const Cells& cells)
{
    std::string text;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        text += i == 0 ? "" : ",";
        text += quoted(cells[i]);
    }
    return text += lineEnd;
}

std::string csvCell(const std::optional<double>& value)
{
    return value ? number(*value, csvDigits) : std::string();
}

void append(Cells& cells, const Cells& more)
{
    cells.insert(cells.end(), more.begin(), more.end());
}

Cells headerNames(const Header& header)
{
    Cells cells;
    for (const HeaderField field : headerFields()) {
        if (!header[field].empty()) {
            std::string name("header_");
            cells.push_back(name.append(inWords(headerFieldName(field))));
        }
    }
    return cells;
}

Cells headerCells(const Header& header)
{
    Cells cells;
    for (const HeaderField field : headerFields()) {
        if (!header[field].empty()) {
            cells.push_back(header[field]);
        }
    }
    return cells;
}

Cells doseNames(const std::string& prefix, const std::vector<DoseMetric>& metrics)
{
    const std::string front = prefix.empty() ? prefix : prefix + "_";
    Cells cells{front + "dose_min", front + "dose_mean", front + "dose_max"};
    for (const DoseMetric& metric : metrics) {
        cells.push_back(front + metric.label());
    }
    return cells;
}

Cells doseCells(const std::optional<DoseVolume>& dose, std::size_t metrics)
{
    if (!dose) {
        return Cells(3 + metrics);
    }
    Cells cells{csvCell(dose->minimum), csvCell(dose->mean), csvCell(dose->maximum)};
    for (const std::optional<double>& value : dose->metrics) {
        cells.push_back(csvCell(value));
    }
    return cells;
}

Cells goalNames(bool hasPair)
{
    Cells cells{"goal", "goal_unit"};
    const Cells parts = hasPair ? Cells{"goal_reference", "goal_evaluation", "goal_difference"}
                                : Cells{"goal_dose"};
    for (const std::string& part : parts) {
        append(cells, {part, part + "_margin"});
    }
    cells.emplace_back("goal_verdict");
    return cells;
}

Cells goalCells(const Goal& goal, const GoalResult& result, bool hasPair)
{
    Cells cells{goal.text, result.unit};
    append(cells, partCells(result.reference));
    if (hasPair) {
        append(cells, partCells(result.evaluation));
        append(cells, partCells(result.difference));
    }
    cells.emplace_back(verdictName(result.verdict));
    return cells;
}

} // namespace zarngi
