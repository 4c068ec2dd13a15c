#include "cli/commands/measurementOptions.h"

#include <CLI/CLI.hpp>

#include "comparison/failure.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

constexpr const char* ofEvaluation = "evaluation";

/** A dose above 0 in the range that the library takes. */
bool isDose(double value)
{
    constexpr double smallest = 1e-30;
    constexpr double largest = 1e30;
    return value > smallest && value <= largest;
}

Vec3 placeOf(const std::string& option, const std::string& text)
{
    const std::vector<double> position = parsePosition(option, text);
    if (position.size() != 3) {
        throw UsageError(option + ": \"" + oneLine(text) + "\" is no position X,Y,Z (mm)");
    }
    return {position[0], position[1], position[2]};
}

DoseFactor factorOf(const std::string& option, const std::string& text)
{
    return text.empty() ? DoseFactor() : parseFactor(option, text);
}

} // namespace

NormalisationRequest MeasurementOptions::normalisation() const
{
    NormalisationRequest request;
    request.isEvaluation = norm == ofEvaluation;
    if (!norm.empty() && !request.isEvaluation) {
        request.dose = parseNumber(norm);
        if (!isDose(*request.dose)) {
            throw UsageError("--norm: \"" + oneLine(norm) +
                             "\" is not a positive number or \"evaluation\"");
        }
    }
    if (!normAt.empty()) {
        request.at = parsePosition("--norm-at", normAt);
    }
    return request;
}

PlaneRequest MeasurementOptions::placement() const
{
    PlaneRequest request;
    request.plane = plane;
    if (!plane.empty()) {
        planeNamed(plane); // tells what is wrong before files are read
    }
    if (!at.empty()) {
        request.at = placeOf("--at", at);
    }
    return request;
}

files::TableUnits MeasurementOptions::units() const
{
    files::TableUnits units;
    if (!doseUnit.empty()) {
        units.gray = doseUnit == "cGy" ? 1.0 / 100 : 1;
    }
    if (!lengthUnit.empty()) {
        units.millimetres = lengthUnit == "cm" ? 10 : 1;
    }
    return units;
}

void addNormalisation(CLI::App& command, MeasurementOptions& options)
{
    auto* const norm =
        command
            .add_option("--norm", options.norm, "Dose of 100 % (reference maximum), or evaluation")
            ->type_name("GY")
            ->group("Criteria");
    command.add_option("--norm-at", options.normAt, "Dose of 100 % is that of the reference there")
        ->type_name("X,Y[,Z]")
        ->excludes(norm)
        ->group("Criteria");
}

void addTableUnits(CLI::App& command, MeasurementOptions& options)
{
    const auto unit = [&](const char* name, std::string& value, const char* type,
                          std::vector<std::string> accepted, const char* text) {
        command.add_option(name, value, text)
            ->type_name(type)
            ->check(CLI::IsMember(std::move(accepted)))
            ->group("Planes, points and sums");
    };
    unit("--dose-unit", options.doseUnit, "UNIT", {"Gy", "cGy"}, "Of tables that tell none");
    unit("--length-unit", options.lengthUnit, "UNIT", {"mm", "cm"}, "Likewise (mm)");
}

void addMeasurements(CLI::App& command, MeasurementOptions& options)
{
    constexpr const char* group = "Planes, points and sums";
    const auto text = [&](const char* name, std::string& value, const char* type,
                          const char* what) {
        command.add_option(name, value, what)->type_name(type)->group(group);
    };
    const auto files = [&](const char* name, std::vector<std::string>& value, const char* what) {
        command.add_option(name, value, what)
            ->type_name("FILE")
            ->expected(1)
            ->take_all()
            ->group(group);
    };
    text("--plane", options.plane, "PLANE", "axial, coronal, sagittal or gantry:ANGLE");
    text("--at", options.at, "X,Y,Z", "Where the plane's point 0, 0 lies in the patient (mm)");
    text("--reference-scale", options.referenceScale, "N", "Its doses times this; also 1/33");
    text("--evaluation-scale", options.evaluationScale, "N", "Likewise");
    files("--reference-add", options.referenceAdded, "Add this dose, on the same grid");
    files("--evaluation-add", options.evaluationAdded, "Likewise");
    addTableUnits(command, options);
}

void checkMeasurementOptions(const MeasurementOptions& options)
{
    options.normalisation();
    options.placement();
    factorOf("--reference-scale", options.referenceScale);
    factorOf("--evaluation-scale", options.evaluationScale);
}

} // namespace zarngi
