#include "cli/output/noiseTable.h"

#include "cli/output/columns.h"
#include "comparison/documents/noiseJson.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

constexpr std::size_t nameWidth = 22;

std::string describeEstimate(const std::string& name, const GammaStatistics& statistics,
                             const NoiseEstimate& estimate)
{
    return leftCell(name, nameWidth) + cell(fixed(statistics.passRate, 2), 8) + " %; " +
           noiseSentence(estimate) + "\n";
}

std::string describeEstimates(const CriterionResult& result, const Comparison& comparison)
{
    std::string text =
        describeEstimate(result.criterion.label(), result.statistics, *result.withoutNoise);
    for (std::size_t i = 0; i < result.structures.size(); ++i) {
        const std::optional<StructureGamma>& gamma = result.structures[i];
        if (gamma && gamma->withoutNoise && gamma->statistics.tested >= fewestVoxels) {
            text += describeEstimate("  " + oneLine(comparison.structures->rows[i].chosen.name),
                                     gamma->statistics, *gamma->withoutNoise);
        }
    }
    return text;
}

std::string nameOf(const NoiseDifferences& told)
{
    if (!told.name.empty()) {
        return oneLine(told.name);
    }
    return told.upperPercent == 0
               ? "all tested"
               : number(told.lowerPercent) + " to " + number(told.upperPercent) + " % dose";
}

std::string describeDifferences(const NoiseDifferences& told)
{
    std::string text = leftCell(nameOf(told), nameWidth) + cell(std::to_string(told.voxels), 9);
    if (told.voxels > 0) {
        text += cell(fixed(told.mean, 3), 8) + cell(fixed(told.deviation, 3), 8) +
                cell(fixed(100 * told.beyondTwo, 2), 10) +
                cell(fixed(100 * told.beyondThree, 2), 10);
    }
    return text + "\n";
}

std::string describeFlat(const FlatRegion& flat)
{
    std::string text =
        grouped(flat.voxels) + " voxels, chi-square " + fixed(flat.chiSquare, 3) + " for each";
    if (flat.scatter && flat.correlation) {
        text += "; scatter " + fixed(*flat.scatter, 2) +
                " times the uncertainty, correlation of neighbours " + fixed(*flat.correlation, 2);
    }
    return text;
}

} // namespace

std::string describeNoise(const Comparison& comparison)
{
    const NoiseFindings& findings = *comparison.noise;
    std::string text =
        "\nestimates of the rates without statistical noise, which change no verdict\n";
    for (const CriterionResult& result : comparison.results) {
        text += describeEstimates(result, comparison);
    }
    text += '\n';
    text += leftCell("differences", nameWidth);
    text += "   voxels    mean      sd  beyond 2  beyond 3 times the uncertainty (%)\n";
    for (const NoiseDifferences& told : findings.differences) {
        text += describeDifferences(told);
    }
    if (findings.flat.voxels > 0) {
        text += line("flat doses", describeFlat(findings.flat));
    }
    for (const std::string& note : findings.notes) {
        text += line("note", note);
    }
    return text + line("time", fixed(findings.seconds, 3) + " s");
}

} // namespace zarngi
