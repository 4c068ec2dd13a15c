#include "cli/commands/measurementOptions.h"

#include <CLI/CLI.hpp>

namespace zarngi
{

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
    command
        .add_flag("--allow-error-doses", options.allowErrorDoses,
                  "Take RT Doses of Dose Type ERROR for doses")
        ->group(group);
}

} // namespace zarngi
