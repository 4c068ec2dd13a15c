#include "comparison/request/values.h"

#include <cmath>

#include "comparison/failure.h"
#include "comparison/request/typedNumber.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

constexpr const char* ofEvaluation = "evaluation";

bool isUsable(double value)
{
    constexpr double smallest = 1e-30;
    constexpr double largest = 1e30;
    return value > smallest && value <= largest;
}

UsageError noPositive(const MemberPlace& place, const std::string& text)
{
    return refusalOf(place, Sentence("\"") + oneLine(text) + "\" is not a positive number");
}

/** What one unit is in the usual one. */
double factorOf(Member member, const std::string& text, const char* usual, const char* other,
                double factor)
{
    if (text != usual && text != other) {
        throw refusalOf({member}, Sentence("\"") + oneLine(text) + "\" is neither " + usual +
                                      " nor " + other);
    }
    return text == usual ? 1 : factor;
}

} // namespace

double parsePositive(const MemberPlace& place, const std::string& text)
{
    const double value = parseTyped(trimmed(text));
    if (!isUsable(value)) {
        throw noPositive(place, text);
    }
    return value;
}

double positive(const MemberPlace& place, double value)
{
    if (!isUsable(value)) {
        throw noPositive(place, number(value));
    }
    return value;
}

NormalisationRequest parseNormalisation(const std::string& text)
{
    NormalisationRequest request;
    request.isEvaluation = text == ofEvaluation;
    if (!request.isEvaluation) {
        request.dose = parseTyped(text);
        if (!isUsable(*request.dose)) {
            throw refusalOf({Member::normalisation},
                            Sentence("\"") + oneLine(text) +
                                "\" is not a positive number or \"evaluation\"");
        }
    }
    return request;
}

PlaneRequest parsePlane(const std::string& name, const std::string& at)
{
    PlaneRequest request;
    if (!name.empty()) {
        request.plane = NamedPlane{name, planeNamed(name)};
    }
    if (!at.empty()) {
        const std::vector<double> position = parsePosition({Member::planeAt}, at);
        if (position.size() != 3) {
            throw refusalOf({Member::planeAt},
                            Sentence("\"") + oneLine(at) + "\" is no position X,Y,Z (mm)");
        }
        request.at = Vec3{position[0], position[1], position[2]};
    }
    return request;
}

double explanationRange(double millimetres)
{
    if (!(millimetres >= 1 && millimetres <= 100)) {
        throw refusalOf({Member::explainRange},
                        "\"" + number(millimetres) + "\" is not a number from 1 to 100");
    }
    return millimetres;
}

std::uint32_t noiseSeed(double value)
{
    constexpr double most = 4294967295;
    if (!(value >= 0 && value <= most && value == std::floor(value))) {
        throw refusalOf({Member::noiseSeed},
                        "\"" + number(value) + "\" is not a whole number from 0 to 4294967295");
    }
    return static_cast<std::uint32_t>(value);
}

files::TableUnits parseUnits(const std::string& dose, const std::string& length)
{
    files::TableUnits units;
    if (!dose.empty()) {
        units.gray = factorOf(Member::doseUnit, dose, "Gy", "cGy", 1.0 / 100);
    }
    if (!length.empty()) {
        units.millimetres = factorOf(Member::lengthUnit, length, "mm", "cm", 10);
    }
    return units;
}

} // namespace zarngi
