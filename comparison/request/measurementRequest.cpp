#include "comparison/request/measurementRequest.h"

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

void checkMeasurementOptions(const MeasurementOptions& options)
{
    options.normalisation();
    options.placement();
    factorOf("--reference-scale", options.referenceScale);
    factorOf("--evaluation-scale", options.evaluationScale);
}

} // namespace zarngi
